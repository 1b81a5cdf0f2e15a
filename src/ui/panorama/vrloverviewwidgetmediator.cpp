#include "ui/panorama/vrloverviewwidgetmediator.h"

#include <algorithm>

#include <QWheelEvent>

#include "ui/panorama/vrloverviewwidget.h"
#include "ui/panorama/vrloverviewwidgetcanvas.h"
#include "ui/panorama/vrloverviewwidgetmediatordelegate.h"

namespace vorlen {

VRLOverviewWidgetMediator::VRLOverviewWidgetMediator(VRLImageWidget& widget) : VRLSliceWidgetMediator(widget) {
}

VRLOverviewWidgetMediator::~VRLOverviewWidgetMediator() {
    if (__delegate != nullptr)
        __delegate->deactivate();
}

void VRLOverviewWidgetMediator::initialize() {
    setScrollBarsVisible(false);
    getCanvas().setBestFitMode(true, true);
    getCanvas().setFixedSize(256, 256);
    __delegate = new VRLOverviewWidgetMediatorDelegate(*this);
    __delegate->activate();
    VRLSliceWidgetMediator::initialize();
}

void VRLOverviewWidgetMediator::localViewChange(const QRect& localView) {
    auto& overview = static_cast<VRLOverviewWidget&>(getWidget());
    overview.setLocalView(localView);
    overview.notifyLocalViewChange(localView);
}

bool VRLOverviewWidgetMediator::canvasEvent(QEvent* event) {
    if (event->type() != QEvent::Wheel)
        return VRLSliceWidgetMediator::canvasEvent(event);
    __wheel = std::clamp(__wheel + static_cast<QWheelEvent*>(event)->angleDelta().y(), -1200, 1200);
    for (; __wheel >= 120 || __wheel <= -120; __wheel -= __wheel > 0 ? 120 : -120)
        emit static_cast<VRLOverviewWidget&>(getWidget()).zoomRequested(__wheel > 0);
    event->accept();
    return true;
}

} // namespace vorlen
