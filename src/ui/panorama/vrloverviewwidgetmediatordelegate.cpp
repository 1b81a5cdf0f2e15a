#include "ui/panorama/vrloverviewwidgetmediatordelegate.h"

#include <QMouseEvent>

#include "ui/panorama/vrloverviewwidgetcanvas.h"
#include "ui/panorama/vrloverviewwidgetmediator.h"

namespace vorlen {

VRLOverviewWidgetMediatorDelegate::VRLOverviewWidgetMediatorDelegate(VRLOverviewWidgetMediator& mediator)
    : VRLImageWidgetMediatorDelegate(mediator) {
}

void VRLOverviewWidgetMediatorDelegate::mousePressEvent(QMouseEvent* event) {
    const QPoint position = event->position().toPoint();
    if (event->buttons() != Qt::LeftButton || !overviewCanvas().frame().contains(position))
        return anyEvent(event);
    __held = overviewCanvas().convertToImagePosition(position) - overviewCanvas().getLocalView().topLeft();
    canvas().setCursor(Qt::ClosedHandCursor);
    event->accept();
}

void VRLOverviewWidgetMediatorDelegate::mouseMoveEvent(QMouseEvent* event) {
    const QPoint position = event->position().toPoint();
    if (!__held || !(event->buttons() & Qt::LeftButton)) {
        canvas().setCursor(overviewCanvas().frame().contains(position) ? Qt::OpenHandCursor : Qt::ArrowCursor);
        return anyEvent(event);
    }
    const QRect local = overviewCanvas().getLocalView();
    overviewMediator().localViewChange(
        QRect(overviewCanvas().convertToImagePosition(position) - *__held, local.size()));
    event->accept();
}

void VRLOverviewWidgetMediatorDelegate::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && __held) {
        __held.reset();
        canvas().setCursor(Qt::OpenHandCursor);
    }
    anyEvent(event);
}

VRLOverviewWidgetCanvas& VRLOverviewWidgetMediatorDelegate::overviewCanvas() const {
    return static_cast<VRLOverviewWidgetCanvas&>(canvas());
}

VRLOverviewWidgetMediator& VRLOverviewWidgetMediatorDelegate::overviewMediator() const {
    return static_cast<VRLOverviewWidgetMediator&>(getMediator());
}

} // namespace vorlen
