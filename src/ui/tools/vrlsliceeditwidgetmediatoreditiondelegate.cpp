#include "ui/tools/vrlsliceeditwidgetmediatoreditiondelegate.h"

#include <QActionGroup>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QScopedValueRollback>

#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"
#include "ui/icons/vrlicons.h"

namespace vorlen {

using Delegate = VRLSliceEditWidgetMediatorEditionDelegate;

VRLSliceEditWidgetMediatorEditionDelegate::VRLSliceEditWidgetMediatorEditionDelegate(ToolHost& host)
    : VRLSliceEditWidgetMediatorDelegate(host) {
    setBlocking(true);
    setPenAsMouse(true);
    auto* const group = new QActionGroup(this);
    __moveModeAction = newModeAction("Move points", "movepoints", *group, &Delegate::setMoveMode);
    __insertModeAction = newModeAction("Insert points", "insertpoints", *group, &Delegate::setInsertMode);
    __deleteModeAction = newModeAction("Delete points", "deletepoints", *group, &Delegate::setDeleteMode);
    __moveModeAction->setChecked(true);
    __endAction = new QAction("End edition", this);
    connect(__endAction, &QAction::triggered, this, &Delegate::cancel);
    __toolBar = new VRLVertexEditionToolBar(&canvas());
    __toolBar->QWidget::addAction(&host.cancelCommand()); // its key acts in that window too
    for (QAction* action : {__moveModeAction, __insertModeAction, __deleteModeAction, __endAction})
        __toolBar->addAction(action);
    connect(__toolBar, &VRLVertexEditionToolBar::closed, this, &Delegate::cancel);
}

VRLSliceEditWidgetMediatorEditionDelegate::~VRLSliceEditWidgetMediatorEditionDelegate() {
    delete __toolBar;
}

void VRLSliceEditWidgetMediatorEditionDelegate::activate() {
    if (isActive() || stack() == nullptr)
        return;
    const std::vector<ModelItem*> selected = slice()->getSelectedItems();
    if (selected.empty())
        return;
    VRLSliceEditWidgetMediatorDelegate::activate();
    __item = selected.back();
    setMoveMode();
    __moveModeAction->setChecked(true);
    QGuiApplication::setOverrideCursor(Qt::PointingHandCursor);
    canvas().setFocus();
    __toolBar->move(canvas().mapToGlobal(QPoint(10, 10)));
    __toolBar->show();
    host().requestLock(true);
}

void VRLSliceEditWidgetMediatorEditionDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    QGuiApplication::restoreOverrideCursor();
    host().setEditMode(QString());
    host().setRestingHint();
    {
        const QScopedValueRollback own(__ownChange, true);
        __drag.reset();
    }
    __item = nullptr;
    if (__toolBar)
        __toolBar->hide();
    host().requestLock(false);
}

void VRLSliceEditWidgetMediatorEditionDelegate::setMoveMode() {
    setMode(MoveMode);
}

void VRLSliceEditWidgetMediatorEditionDelegate::setInsertMode() {
    setMode(InsertMode);
}

void VRLSliceEditWidgetMediatorEditionDelegate::setDeleteMode() {
    setMode(DeleteMode);
}

bool VRLSliceEditWidgetMediatorEditionDelegate::isAbout(const Model& model) const {
    return __item != nullptr && __item->getModel() == &model;
}

void VRLSliceEditWidgetMediatorEditionDelegate::itemGone(const ModelItem& item) {
    if (isAbout(item))
        letGo();
}

void VRLSliceEditWidgetMediatorEditionDelegate::modelGone(const Model& model) {
    if (isAbout(model))
        letGo();
}

void VRLSliceEditWidgetMediatorEditionDelegate::itemChanged(const ModelItem& item) {
    if (isAbout(item) && !__ownChange)
        releaseDrag();
}

/// Ends without touching the item, where a drag has left it.
void VRLSliceEditWidgetMediatorEditionDelegate::letGo() {
    releaseDrag();
    cancel();
}

void VRLSliceEditWidgetMediatorEditionDelegate::releaseDrag() {
    if (__drag)
        __drag->release();
    __drag.reset();
}

void VRLSliceEditWidgetMediatorEditionDelegate::mousePressEvent(QMouseEvent* event) {
    if (acts() && event->buttons() == Qt::LeftButton) {
        const Vector<int> point = imagePoint(event->position().toPoint());
        event->accept();
        if (__mode == MoveMode)
            startMove(point);
        else if (__mode == InsertMode)
            insertAt(point);
        else
            deleteAt(point);
        return;
    }
    anyEvent(event);
}

void VRLSliceEditWidgetMediatorEditionDelegate::mouseMoveEvent(QMouseEvent* event) {
    if (isActive() && !(event->buttons() & Qt::LeftButton))
        finishMove(); // the release went elsewhere
    if (acts() && event->buttons() == Qt::LeftButton) {
        const Vector<int> point = imagePoint(event->position().toPoint());
        event->accept();
        if (__mode == MoveMode)
            moveTo(point);
        else if (__mode == DeleteMode)
            deleteAt(point);
        return;
    }
    anyEvent(event);
}

void VRLSliceEditWidgetMediatorEditionDelegate::mouseReleaseEvent(QMouseEvent* event) {
    if (isActive() && event->button() == Qt::LeftButton)
        finishMove();
    anyEvent(event);
}

// The menu runs a loop of its own, in which this object may be deleted.
void VRLSliceEditWidgetMediatorEditionDelegate::contextMenuEvent(QContextMenuEvent* event) {
    if (!acts())
        return anyEvent(event);
    event->accept();
    finishMove(); // the menu takes the release
    QMenu menu;
    menu.addActions({__moveModeAction, __insertModeAction, __deleteModeAction});
    menu.addSeparator();
    menu.addAction(__endAction);
    menu.exec(event->globalPos());
}

QAction* VRLSliceEditWidgetMediatorEditionDelegate::newModeAction(const QString& text, const QString& icon,
                                                                  QActionGroup& group, void (Delegate::*slot)()) {
    auto* const action = new QAction(VRLIcons::icon(icon), text, this);
    action->setCheckable(true);
    group.addAction(action);
    connect(action, &QAction::triggered, this, slot);
    return action;
}

void VRLSliceEditWidgetMediatorEditionDelegate::setMode(Mode mode) {
    finishMove();
    __mode = mode;
    static const char* const words[] = {"MOVE", "INSERT", "DELETE"};
    static const char* const hints[] = {
        "Drag a vertex: move it. Escape: end the edition.",
        "Click on the contour, or anywhere for points: insert a vertex. Escape: end the edition.",
        "Click or drag over vertices: delete them. Escape: end the edition."};
    host().setEditMode(words[mode]);
    host().setHint(hints[mode]);
}

void VRLSliceEditWidgetMediatorEditionDelegate::startMove(const Vector<int>& point) {
    finishMove();
    const int index = __item->findNearestVertex(point, 10);
    if (index >= 0 && stack() != nullptr)
        __drag.emplace(*stack(), *__item, index);
}

void VRLSliceEditWidgetMediatorEditionDelegate::moveTo(const Vector<int>& point) {
    if (!__drag)
        return;
    const QScopedValueRollback own(__ownChange, true);
    __drag->moveTo(point);
}

void VRLSliceEditWidgetMediatorEditionDelegate::finishMove() {
    if (__drag)
        __drag->finish();
    __drag.reset();
}

void VRLSliceEditWidgetMediatorEditionDelegate::insertAt(const Vector<int>& point) {
    const int index = __item->findInsertion(point, clickTolerance());
    if (index >= 0 && stack() != nullptr)
        insertVertex(*stack(), *__item, index, point);
}

void VRLSliceEditWidgetMediatorEditionDelegate::deleteAt(const Vector<int>& point) {
    const int index = __item->findNearestVertex(point, clickTolerance());
    if (index >= 0 && stack() != nullptr)
        warnUnlessDone("Warning", removeVertex(*stack(), *__item, index));
}

} // namespace vorlen
