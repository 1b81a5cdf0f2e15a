#include "ui/tools/vrlsliceeditwidgetmediatoreditiondelegate.h"
#include "ui/tools/toollist.h"

#include <QAction>
#include <QActionGroup>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScopedValueRollback>

#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

using Delegate = VRLSliceEditWidgetMediatorEditionDelegate;

const std::vector<CommandInfo>& pointEditionCommands() {
    static const std::vector<CommandInfo> commands = {
        {.id = "points.move", .text = "Move points", .tip = "Drag vertices", .icon = "movepoints", .checkable = true},
        {.id = "points.insert",
         .text = "Insert points",
         .tip = "Click to insert vertices",
         .icon = "insertpoints",
         .checkable = true},
        {.id = "points.delete",
         .text = "Delete points",
         .tip = "Click or drag over vertices to delete them",
         .icon = "deletepoints",
         .checkable = true},
        {.id = "points.undo",
         .text = "Undo",
         .tip = "Take back the last change of this edition: Ctrl+Z",
         .icon = "undo"},
        {.id = "points.redo", .text = "Redo", .tip = "Do again what was taken back: Ctrl+Shift+Z", .icon = "redo"},
        {.id = "points.end", .text = "End edition", .tip = "Keep the contour as it is now"},
    };
    return commands;
}

VRLSliceEditWidgetMediatorEditionDelegate::VRLSliceEditWidgetMediatorEditionDelegate(ToolHost& host)
    : VRLSliceEditWidgetMediatorDelegate(host) {
    setBlocking(true);
    setPenAsMouse(true);
    __commands.setWindow(sliceEditorWindow);
    __commands.add(pointEditionCommands());
    __commands.bind("points.move", [this] { setMoveMode(); });
    __commands.bind("points.insert", [this] { setInsertMode(); });
    __commands.bind("points.delete", [this] { setDeleteMode(); });
    __commands.bind("points.undo", [this] { undo(); }).enableWhen([this] { return __numDone > 0; });
    __commands.bind("points.redo", [this] { redo(); }).enableWhen([this] { return __numUndone > 0; });
    __commands.bind("points.end", [this] { cancel(); });
    __commands.update();
    auto* const group = new QActionGroup(this);
    for (const char* mode : {"points.move", "points.insert", "points.delete"})
        group->addAction(&__commands.action(mode));
    __toolBar = new VRLVertexEditionToolBar(&canvas());
    __toolBar->QWidget::addAction(&host.cancelCommand()); // its key acts in that window too
    for (const auto& command : __commands.commands())
        __toolBar->addAction(&command->action());
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
    __numDone = __numUndone = 0;
    __steps = connect(stack()->history(), &VRLActionHistory::recorded, this, &Delegate::countStep);
    __commands.update();
    setMoveMode();
    __commands.action("points.move").setChecked(true);
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
    disconnect(__steps);
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

void VRLSliceEditWidgetMediatorEditionDelegate::undo() {
    finishMove();
    if (isActive() && stack() != nullptr && __numDone > 0)
        stack()->history()->undo();
}

void VRLSliceEditWidgetMediatorEditionDelegate::redo() {
    finishMove();
    if (isActive() && stack() != nullptr && __numUndone > 0)
        stack()->history()->redo();
}

void VRLSliceEditWidgetMediatorEditionDelegate::countStep(VRLActionHistory::Change change) {
    switch (change) {
    case VRLActionHistory::Change::Step:
        ++__numDone;
        __numUndone = 0;
        break;
    case VRLActionHistory::Change::Undo:
        --__numDone;
        ++__numUndone;
        break;
    case VRLActionHistory::Change::Redo:
        ++__numDone;
        --__numUndone;
        break;
    case VRLActionHistory::Change::Clear:
        __numDone = __numUndone = 0;
    }
    __commands.update();
}

/// The window's own commands for undo and redo rest while something is edited, so that their keys come here.
void VRLSliceEditWidgetMediatorEditionDelegate::keyPressEvent(QKeyEvent* event) {
    const QKeySequence keys(event->keyCombination());
    const bool back = keys == QKeySequence(Qt::CTRL | Qt::Key_Z);
    if (!acts() ||
        (!back && keys != QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z) && keys != QKeySequence(Qt::CTRL | Qt::Key_R)))
        return anyEvent(event);
    event->accept();
    back ? undo() : redo();
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

/// Two quick presses are two.
void VRLSliceEditWidgetMediatorEditionDelegate::mouseDoubleClickEvent(QMouseEvent* event) {
    mousePressEvent(event);
}

void VRLSliceEditWidgetMediatorEditionDelegate::mousePressEvent(QMouseEvent* event) {
    if (acts() && event->buttons() == Qt::LeftButton) {
        const Vector<double> point = vertexAt(event->position());
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
        const Vector<double> point = vertexAt(event->position());
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
    __commands.fill(menu, {"",
                           {"points.move", "points.insert", "points.delete", commandSeparator, "points.undo",
                            "points.redo", commandSeparator, "points.end"}});
    menu.exec(event->globalPos());
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

void VRLSliceEditWidgetMediatorEditionDelegate::startMove(const Vector<double>& point) {
    finishMove();
    const int index = __item->findNearestVertex(point, clickTolerance());
    if (index >= 0 && stack() != nullptr)
        __drag.emplace(*stack(), *__item, index);
}

void VRLSliceEditWidgetMediatorEditionDelegate::moveTo(const Vector<double>& point) {
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

void VRLSliceEditWidgetMediatorEditionDelegate::insertAt(const Vector<double>& point) {
    const int index = __item->findInsertion(point, clickTolerance());
    if (index >= 0 && stack() != nullptr)
        insertVertex(*stack(), *__item, index, point);
}

void VRLSliceEditWidgetMediatorEditionDelegate::deleteAt(const Vector<double>& point) {
    const int index = __item->findNearestVertex(point, clickTolerance());
    if (index >= 0 && stack() != nullptr)
        warnUnlessDone("Warning", removeVertex(*stack(), *__item, index));
}

} // namespace vorlen
