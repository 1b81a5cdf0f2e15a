#include "ui/slices/vrlimagewidgetmediatordelegate.h"

#include <iostream>

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTabletEvent>

#include "numerics/exception.h"
#include "ui/slices/vrlimagewidgetmediator.h"

namespace vorlen {

VRLImageWidgetMediatorDelegate::VRLImageWidgetMediatorDelegate(VRLImageWidgetMediator& mediator)
    : QObject(&mediator), __mediator(&mediator), __canvas(&mediator.getCanvas()) {
    __canvas->installEventFilter(this);
}

VRLImageWidgetMediatorDelegate::~VRLImageWidgetMediatorDelegate() {
    if (__canvas)
        __canvas->removeEventFilter(this);
    if (__active)
        std::cerr << ProgramError("VRLImageWidgetMediatorDelegate::~VRLImageWidgetMediatorDelegate()",
                                  "Destructor called while delegate is active");
}

void VRLImageWidgetMediatorDelegate::activate() {
    if (__active)
        throw ProgramError("void VRLImageWidgetMediatorDelegate::activate()", "Activating already active delegate");
    __active = true;
}

void VRLImageWidgetMediatorDelegate::deactivate() {
    if (!__active)
        throw ProgramError("void VRLImageWidgetMediatorDelegate::deactivate()", "Dectivating inactive delegate");
    __active = false;
}

void VRLImageWidgetMediatorDelegate::process(QEvent* event) {
    eventFilter(__canvas, event);
}

void VRLImageWidgetMediatorDelegate::setActive(bool active) {
    if (active)
        activate();
    else
        deactivate();
}

bool VRLImageWidgetMediatorDelegate::eventFilter(QObject* object, QEvent* event) {
    if (object != __canvas)
        return QObject::eventFilter(object, event);
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        mousePressEvent(static_cast<QMouseEvent*>(event));
        break;
    case QEvent::MouseButtonRelease:
        mouseReleaseEvent(static_cast<QMouseEvent*>(event));
        break;
    case QEvent::MouseButtonDblClick:
        mouseDoubleClickEvent(static_cast<QMouseEvent*>(event));
        break;
    case QEvent::MouseMove:
        mouseMoveEvent(static_cast<QMouseEvent*>(event));
        break;
    case QEvent::KeyPress:
        keyPressEvent(static_cast<QKeyEvent*>(event));
        break;
    case QEvent::KeyRelease:
        keyReleaseEvent(static_cast<QKeyEvent*>(event));
        break;
    case QEvent::ContextMenu:
        contextMenuEvent(static_cast<QContextMenuEvent*>(event));
        break;
    case QEvent::TabletMove:
        tabletMoveEvent(static_cast<QTabletEvent*>(event));
        break;
    case QEvent::TabletPress:
        tabletPressEvent(static_cast<QTabletEvent*>(event));
        break;
    case QEvent::TabletRelease:
        tabletReleaseEvent(static_cast<QTabletEvent*>(event));
        break;
    default:
        event->setAccepted(false);
        break;
    }
    return event->isAccepted();
}

void VRLImageWidgetMediatorDelegate::mouseDoubleClickEvent(QMouseEvent* event) {
    anyEvent(event);
}

void VRLImageWidgetMediatorDelegate::mousePressEvent(QMouseEvent* event) {
    anyEvent(event);
}

void VRLImageWidgetMediatorDelegate::mouseMoveEvent(QMouseEvent* event) {
    anyEvent(event);
}

void VRLImageWidgetMediatorDelegate::mouseReleaseEvent(QMouseEvent* event) {
    anyEvent(event);
}

void VRLImageWidgetMediatorDelegate::penEvent(QTabletEvent* event) {
    if (__penAsMouse)
        event->setAccepted(!canvas().isEnabled());
    else
        anyEvent(event);
}

void VRLImageWidgetMediatorDelegate::tabletMoveEvent(QTabletEvent* event) {
    penEvent(event);
}

void VRLImageWidgetMediatorDelegate::tabletPressEvent(QTabletEvent* event) {
    penEvent(event);
}

void VRLImageWidgetMediatorDelegate::tabletReleaseEvent(QTabletEvent* event) {
    penEvent(event);
}

void VRLImageWidgetMediatorDelegate::keyPressEvent(QKeyEvent* event) {
    anyEvent(event);
}

void VRLImageWidgetMediatorDelegate::keyReleaseEvent(QKeyEvent* event) {
    anyEvent(event);
}

void VRLImageWidgetMediatorDelegate::contextMenuEvent(QContextMenuEvent* event) {
    anyEvent(event);
}

void VRLImageWidgetMediatorDelegate::anyEvent(QEvent* event) {
    event->setAccepted(!canvas().isEnabled() || (__active && __blocking));
}

VRLImageWidgetCanvas& VRLImageWidgetMediatorDelegate::canvas() const {
    return *__canvas;
}

} // namespace vorlen
