#include "ui/tools/inputhandler.h"

#include <iostream>

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTabletEvent>

#include "numerics/exception.h"

namespace vorlen {

InputHandler::InputHandler(QObject* parent) : QObject(parent) {
}

InputHandler::~InputHandler() {
    if (__active)
        std::cerr << ProgramError("InputHandler::~InputHandler()", "Destructor called while delegate is active");
}

void InputHandler::activate() {
    if (__active)
        throw ProgramError("void InputHandler::activate()", "Activating already active delegate");
    __active = true;
}

void InputHandler::deactivate() {
    if (!__active)
        throw ProgramError("void InputHandler::deactivate()", "Dectivating inactive delegate");
    __active = false;
}

void InputHandler::setActive(bool active) {
    if (active)
        activate();
    else
        deactivate();
}

bool InputHandler::process(QEvent* event) {
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

void InputHandler::mouseDoubleClickEvent(QMouseEvent* event) {
    anyEvent(event);
}

void InputHandler::mousePressEvent(QMouseEvent* event) {
    anyEvent(event);
}

void InputHandler::mouseMoveEvent(QMouseEvent* event) {
    anyEvent(event);
}

void InputHandler::mouseReleaseEvent(QMouseEvent* event) {
    anyEvent(event);
}

void InputHandler::penEvent(QTabletEvent* event) {
    if (__penAsMouse)
        event->setAccepted(!isCanvasEnabled());
    else
        anyEvent(event);
}

void InputHandler::tabletMoveEvent(QTabletEvent* event) {
    penEvent(event);
}

void InputHandler::tabletPressEvent(QTabletEvent* event) {
    penEvent(event);
}

void InputHandler::tabletReleaseEvent(QTabletEvent* event) {
    penEvent(event);
}

void InputHandler::keyPressEvent(QKeyEvent* event) {
    anyEvent(event);
}

void InputHandler::keyReleaseEvent(QKeyEvent* event) {
    anyEvent(event);
}

void InputHandler::contextMenuEvent(QContextMenuEvent* event) {
    anyEvent(event);
}

void InputHandler::anyEvent(QEvent* event) {
    event->setAccepted(!isCanvasEnabled() || (__active && __blocking));
}

} // namespace vorlen
