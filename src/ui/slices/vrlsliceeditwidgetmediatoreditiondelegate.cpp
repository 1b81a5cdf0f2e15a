#include "ui/slices/vrlsliceeditwidgetmediatoreditiondelegate.h"

#include <QActionGroup>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QScopedValueRollback>

#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/actions/vrlinsertvertexaction.h"
#include "editing/actions/vrlremovevertexaction.h"
#include "editing/history/vrlactionhistory.h"
#include "ui/icons/vrlicons.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"

namespace vorlen {

using Delegate = VRLSliceEditWidgetMediatorEditionDelegate;

VRLSliceEditWidgetMediatorEditionDelegate::VRLSliceEditWidgetMediatorEditionDelegate(
    VRLSliceEditWidgetMediator& mediator)
    : VRLSliceEditWidgetMediatorDelegate(mediator) {
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
    for (QAction* action : {__moveModeAction, __insertModeAction, __deleteModeAction, __endAction})
        __toolBar->addAction(action);
    connect(__toolBar, &VRLVertexEditionToolBar::closed, this, &Delegate::cancel);
}

VRLSliceEditWidgetMediatorEditionDelegate::~VRLSliceEditWidgetMediatorEditionDelegate() {
    delete __toolBar;
}

void VRLSliceEditWidgetMediatorEditionDelegate::activate() {
    if (isActive() || history() == nullptr)
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
    getMediator().requestLock(true);
}

void VRLSliceEditWidgetMediatorEditionDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    QGuiApplication::restoreOverrideCursor();
    setEditMode(QString());
    getMediator().setRestingHint();
    if (const std::unique_ptr<VRLMoveVertexAction> move = std::move(__moveAction)) {
        const QScopedValueRollback own(__ownChange, true);
        move->revert();
    }
    __item = nullptr;
    if (__toolBar)
        __toolBar->hide();
    getMediator().requestLock(false);
}

void VRLSliceEditWidgetMediatorEditionDelegate::cancel() {
    if (isActive())
        deactivate();
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

void VRLSliceEditWidgetMediatorEditionDelegate::itemGone(const ModelItem& item) {
    if (__item != &item)
        return;
    __moveAction.reset();
    cancel();
}

void VRLSliceEditWidgetMediatorEditionDelegate::itemChanged(const ModelItem& item) {
    if (__item == &item && !__ownChange)
        __moveAction.reset();
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
    setEditMode(words[mode]);
    getMediator().setHint(hints[mode]);
}

void VRLSliceEditWidgetMediatorEditionDelegate::startMove(const Vector<int>& point) {
    finishMove();
    const int index = __item->findNearestVertex(point, 10);
    if (index < 0)
        return;
    __moveAction = std::make_unique<VRLMoveVertexAction>(*__item);
    __moveAction->setIndex(index);
}

void VRLSliceEditWidgetMediatorEditionDelegate::moveTo(const Vector<int>& point) {
    if (!__moveAction)
        return;
    const QScopedValueRollback own(__ownChange, true);
    __moveAction->setPoint(point);
    __moveAction->apply();
}

void VRLSliceEditWidgetMediatorEditionDelegate::finishMove() {
    if (__moveAction && !__moveAction->isNull() && history() != nullptr)
        recordStep(std::move(__moveAction));
    __moveAction.reset();
}

void VRLSliceEditWidgetMediatorEditionDelegate::insertAt(const Vector<int>& point) {
    const int index = __item->findInsertion(point, clickTolerance());
    if (index < 0)
        return;
    auto action = std::make_unique<VRLInsertVertexAction>(*__item);
    action->setIndex(index);
    action->setPoint(point);
    applyStep(std::move(action));
}

void VRLSliceEditWidgetMediatorEditionDelegate::deleteAt(const Vector<int>& point) {
    const int index = __item->findNearestVertex(point, clickTolerance());
    if (index < 0)
        return;
    const QString reason = refusal();
    if (!reason.isEmpty()) {
        warn("Warning", reason);
        return;
    }
    auto action = std::make_unique<VRLRemoveVertexAction>(*__item);
    action->setIndex(index);
    applyStep(std::move(action));
}

/// Why no vertex may go; empty when one may.
QString VRLSliceEditWidgetMediatorEditionDelegate::refusal() const {
    const int size = __item->getSize();
    if (__item->isClosed())
        return size > 3 ? QString()
                        : "You cannot remove any vertex from this contour.\n\nReason: cannot make a closed contour "
                          "with less than 3 vertices.";
    if (__item->isConnected())
        return size > 2 ? QString()
                        : "You cannot remove any vertex from this contour.\n\nReason: cannot make an open contour "
                          "with less than 2 vertices.";
    return size > 1 ? QString() : "You cannot remove this vertex.\n\nReason: it is the last one.";
}

} // namespace vorlen
