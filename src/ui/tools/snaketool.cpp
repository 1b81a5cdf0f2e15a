#include "ui/tools/snaketool.h"

#include <QMouseEvent>
#include <QPointer>
#include <QScopedValueRollback>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/tools/outlinepicking.h"
#include "ui/tools/vrlsliceeditwidgetmediatorsnakedelegate.h"
#include "ui/tools/vrlsnakeconfigeditor.h"

namespace vorlen {

namespace {

constexpr int pauseBeforeRun = 400; // milliseconds

using Snake = VRLSliceEditWidgetMediatorSnakeDelegate;

} // namespace

SnakeTool::SnakeTool(ToolHost& host) : VRLSliceEditWidgetMediatorDelegate(host) {
    __again.setSingleShot(true);
    __again.setInterval(pauseBeforeRun);
    connect(&__again, &QTimer::timeout, this, &SnakeTool::runAgain);
}

void SnakeTool::deactivate() {
    forget();
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    host().setRestingHint();
}

void SnakeTool::cancel() {
    if (isActive())
        host().leaveTool();
}

void SnakeTool::abandon() {
    if (isActive())
        deactivate();
}

QString SnakeTool::restingHint(const StackSliceSelectionInfo&) const {
    return "Click on an outline: the snake runs from it. Other options run it again. Escape: done.";
}

QWidget* SnakeTool::newOptions(QWidget* parent) {
    auto* const editor = new VRLSnakeConfigEditor(parent);
    editor->setConfig(Snake::chosenConfig());
    connect(editor, &VRLSnakeConfigEditor::changed, this, [this, editor] {
        Snake::chooseConfig(editor->getConfig());
        if (__item != nullptr)
            __again.start();
    });
    return editor;
}

void SnakeTool::itemGone(const ModelItem& item) {
    if (&item == __item)
        forget();
}

void SnakeTool::itemChanged(const ModelItem& item) {
    if (&item == __item && !__runs)
        forget();
}

void SnakeTool::forget() {
    disconnect(__watch);
    __again.stop();
    __item = nullptr;
    __found = false;
}

void SnakeTool::press(QMouseEvent& event) {
    if (!acts() || __runs || event.buttons() != Qt::LeftButton || stack() == nullptr)
        return anyEvent(&event);
    event.accept();
    ModelItem* const item = itemMeantAt(host(), host().exactImagePoint(event.position()), double(clickTolerance()));
    if (item == nullptr || item->getModel() == nullptr || !item->isClosed())
        return host().setHint("There is no outline here for the snake to begin with.");
    run(*item, event);
    event.accept();
}

// The run lets events pass, in which the item, the stack and this object may go.
void SnakeTool::run(ModelItem& item, QEvent& input) {
    forget();
    selectAlone(host(), item);
    const QPointer<SnakeTool> self(this);
    const QPointer<VRLStack> edited(stack());
    const VRLAction* const before = edited->history()->nextToUndo();
    __item = &item;
    __runs = true;
    host().begin("snake.run", *item.getModel(), input);
    if (!self)
        return;
    __runs = false;
    if (!edited || !isActive() || stack() != edited)
        return forget();
    if (__item == nullptr)
        return;
    VRLActionHistory* const history = edited->history();
    __found = history->nextToUndo() != before;
    __watch = connect(history, &VRLActionHistory::changed, this, &SnakeTool::forget);
}

void SnakeTool::runAgain() {
    if (__item == nullptr || __runs || !acts() || stack() == nullptr || stack()->history()->isStepOpen())
        return;
    ModelItem& item = *__item;
    const bool found = __found;
    forget();
    const QPointer<SnakeTool> self(this);
    guarded(&canvas(), "The snake cannot be run again.", [&] {
        __item = &item; // until the undo has told that it is still there
        if (found) {
            const QScopedValueRollback<bool> own(__runs, true); // of a replaced item this is a change
            stack()->history()->undo();
        }
        if (!self)
            return;
        if (__item == nullptr)
            return;
        QEvent none(QEvent::None);
        run(item, none);
    });
}

void SnakeTool::mousePressEvent(QMouseEvent* event) {
    press(*event);
}

/// The second click of two quick ones is one more.
void SnakeTool::mouseDoubleClickEvent(QMouseEvent* event) {
    press(*event);
}

} // namespace vorlen
