#pragma once

#include "ui/slices/vrlimagewidgetmediatordelegate.h"

class QPoint;

namespace vorlen {

/// Shows position and value of the pixel under the pointer in the status bar; only watches.
class VRLImageWidgetMediatorPixelInfoDelegate : public VRLImageWidgetMediatorDelegate {
    Q_OBJECT

public:
    using VRLImageWidgetMediatorDelegate::VRLImageWidgetMediatorDelegate;

    /// For a position of the canvas. Nothing without a status bar.
    void updatePixelInfo(const QPoint& position);

    /// The text for a position of the canvas; empty outside of the image and without one.
    QString pixelInfo(const QPoint& position) const;

    bool process(QEvent* event) override;

protected:
    void mouseMoveEvent(QMouseEvent* event) override;
};

} // namespace vorlen
