#pragma once

#include <QPointF>

#include "ui/slices/vrlimagewidgetmediatordelegate.h"

namespace vorlen {

/// Moves the view with the left button or the pen, as long as the Space bar is held: what was taken hold of stays under
/// the pointer. Does not start in best fit mode.
///
/// Decision: when the canvas loses the keyboard with the bar held, so that its release will never be heard, panning
/// ends there and then.
class VRLImageWidgetMediatorPanDelegate : public VRLImageWidgetMediatorDelegate {
    Q_OBJECT

public:
    explicit VRLImageWidgetMediatorPanDelegate(VRLImageWidgetMediator& mediator);

    /// With an open hand as the application's cursor.
    void activate() override;
    void deactivate() override;

    bool process(QEvent* event) override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void tabletMoveEvent(QTabletEvent* event) override;
    void tabletPressEvent(QTabletEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    QPointF __held; // the point of the image that was taken hold of
};

} // namespace vorlen
