#include "ui/slices/vrlimagewidgetmediatorpandelegate.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTabletEvent>

#include "ui/slices/vrlimagewidgetcanvas.h"
#include "ui/slices/vrlimagewidgetmediator.h"
#include "ui/slices/vrlimagewidgetstatusbar.h"

namespace vorlen {

namespace {

bool isPenDown(const QTabletEvent& event) {
    return event.pointerType() == QPointingDevice::PointerType::Pen && event.pressure() > 0;
}

bool isSpace(const QKeyEvent& event) {
    return event.key() == Qt::Key_Space && !event.isAutoRepeat();
}

} // namespace

VRLImageWidgetMediatorPanDelegate::VRLImageWidgetMediatorPanDelegate(VRLImageWidgetMediator& mediator)
    : VRLImageWidgetMediatorDelegate(mediator) {
    setBlocking(true);
}

void VRLImageWidgetMediatorPanDelegate::activate() {
    VRLImageWidgetMediatorDelegate::activate();
    QGuiApplication::setOverrideCursor(Qt::OpenHandCursor);
    if (VRLImageWidgetStatusBar* const statusBar = getMediator().getStatusBar())
        statusBar->showMessage("Drag: move the view. Release the space bar: done.");
}

void VRLImageWidgetMediatorPanDelegate::deactivate() {
    VRLImageWidgetMediatorDelegate::deactivate();
    QGuiApplication::restoreOverrideCursor();
    if (VRLImageWidgetStatusBar* const statusBar = getMediator().getStatusBar())
        statusBar->clearMessage();
}

bool VRLImageWidgetMediatorPanDelegate::process(QEvent* event) {
    if (event->type() == QEvent::FocusOut && isActive())
        setActive(false);
    return VRLImageWidgetMediatorDelegate::process(event);
}

void VRLImageWidgetMediatorPanDelegate::mousePressEvent(QMouseEvent* event) {
    if (event->buttons() == Qt::LeftButton)
        __held = canvas().convertToImagePoint(event->position());
    anyEvent(event);
}

void VRLImageWidgetMediatorPanDelegate::mouseMoveEvent(QMouseEvent* event) {
    if (isActive() && event->buttons() == Qt::LeftButton)
        getMediator().moveUnder(event->position(), __held);
    anyEvent(event);
}

void VRLImageWidgetMediatorPanDelegate::tabletMoveEvent(QTabletEvent* event) {
    if (isActive() && isPenDown(*event))
        getMediator().moveUnder(event->position(), __held);
    anyEvent(event);
}

void VRLImageWidgetMediatorPanDelegate::tabletPressEvent(QTabletEvent* event) {
    if (isPenDown(*event))
        __held = canvas().convertToImagePoint(event->position());
    anyEvent(event);
}

void VRLImageWidgetMediatorPanDelegate::keyPressEvent(QKeyEvent* event) {
    if (!isActive() && canvas().isEnabled() && !canvas().isBestFitMode() && isSpace(*event))
        setActive(true);
    anyEvent(event);
}

void VRLImageWidgetMediatorPanDelegate::keyReleaseEvent(QKeyEvent* event) {
    if (isActive() && isSpace(*event)) {
        setActive(false);
        event->accept();
        return;
    }
    anyEvent(event);
}

} // namespace vorlen
