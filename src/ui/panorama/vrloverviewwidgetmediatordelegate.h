#pragma once

#include <optional>

#include <QPoint>

#include "ui/slices/vrlimagewidgetmediatordelegate.h"

namespace vorlen {

class VRLOverviewWidgetCanvas;
class VRLOverviewWidgetMediator;

/// Drags the frame of the overview with the left button.
///
/// Decision: the frame goes by how far the pointer is from where it took hold, so that one which was held up at the
/// image's border comes back under the pointer when the pointer does.
class VRLOverviewWidgetMediatorDelegate : public VRLImageWidgetMediatorDelegate {
    Q_OBJECT

public:
    explicit VRLOverviewWidgetMediatorDelegate(VRLOverviewWidgetMediator& mediator);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    VRLOverviewWidgetCanvas& overviewCanvas() const;
    VRLOverviewWidgetMediator& overviewMediator() const;

    std::optional<QPoint> __held; // the image pixel that was taken hold of, less the corner of the local view
};

} // namespace vorlen
