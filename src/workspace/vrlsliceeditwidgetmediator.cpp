#include "workspace/vrlsliceeditwidgetmediator.h"

#include <QContextMenuEvent>
#include <QMenu>

#include "numerics/exception.h"
#include "workspace/vrlsliceeditwidgetcanvas.h"
#include "workspace/vrlsliceeditwidgetstatusbar.h"

VRLSliceEditWidgetMediator::VRLSliceEditWidgetMediator(VRLImageWidget& widget) : VRLSliceWidgetMediator(widget) {
}

void VRLSliceEditWidgetMediator::setCanvas(VRLImageWidgetCanvas& canvas) {
    if (dynamic_cast<VRLSliceEditWidgetCanvas*>(&canvas) == nullptr)
        throw ProgramError("void VRLSliceEditWidgetMediator::setCanvas(VRLImageWidgetCanvas&)",
                           "The canvas is not one for editing");
    VRLSliceWidgetMediator::setCanvas(canvas);
}

void VRLSliceEditWidgetMediator::setStatusBar(VRLImageWidgetStatusBar& statusBar) {
    if (dynamic_cast<VRLSliceEditWidgetStatusBar*>(&statusBar) == nullptr)
        throw ProgramError("void VRLSliceEditWidgetMediator::setStatusBar(VRLImageWidgetStatusBar&)",
                           "The status bar is not one for editing");
    VRLSliceWidgetMediator::setStatusBar(statusBar);
}

VRLSliceEditWidgetCanvas& VRLSliceEditWidgetMediator::getCanvas() const {
    return static_cast<VRLSliceEditWidgetCanvas&>(VRLSliceWidgetMediator::getCanvas());
}

VRLSliceEditWidgetStatusBar* VRLSliceEditWidgetMediator::getStatusBar() const {
    return static_cast<VRLSliceEditWidgetStatusBar*>(VRLSliceWidgetMediator::getStatusBar());
}

void VRLSliceEditWidgetMediator::requestLock(bool on) {
    emit lockRequested(on);
}

void VRLSliceEditWidgetMediator::addContextualMenuAction(QAction* action) {
    __contextualActions.append(action);
}

std::unique_ptr<QMenu> VRLSliceEditWidgetMediator::newContextMenu() {
    auto menu = std::make_unique<QMenu>();
    for (const QPointer<QAction>& action : __contextualActions)
        if (action)
            menu->addAction(action);
    return menu;
}

bool VRLSliceEditWidgetMediator::eventFilter(QObject* object, QEvent* event) {
    if (event->type() != QEvent::ContextMenu || !hasCanvas() || object != &getCanvas())
        return VRLSliceWidgetMediator::eventFilter(object, event);
    contextMenuEvent(static_cast<QContextMenuEvent*>(event));
    return event->isAccepted();
}

// The menu runs a loop of its own, in which this object may be deleted.
void VRLSliceEditWidgetMediator::contextMenuEvent(QContextMenuEvent* event) {
    event->ignore();
    if (getSlice() == nullptr)
        return;
    const std::unique_ptr<QMenu> menu = newContextMenu();
    if (menu->isEmpty())
        return;
    event->accept();
    menu->exec(event->globalPos());
}
