#include "editing/journal/journalreplay.h"

#include <memory>

#include "editing/history/editstep.h"
#include "editing/journal/journaledaction.h"
#include "editing/journal/journalrecord.h"
#include "editing/journal/partstates.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

JournalReplay::JournalReplay(VRLStack& stack, const std::vector<ImageSourceKind>& kinds)
    : __stack(stack), __kinds(kinds), __state(partstates::ofStack(stack)) {
}

void JournalReplay::carryOut(const JournalRecord& record) {
    using Kind = JournalRecord::Kind;
    VRLActionHistory& history = *__stack.history();
    const auto makeAction = [&] {
        return std::make_unique<JournaledAction>(__stack, record.delta, QString::fromStdString(record.description),
                                                 __kinds);
    };
    switch (record.kind) {
    case Kind::State:
        makeAction()->applySilently();
        break;
    case Kind::Undo:
        // Of a step that was made before the journal begins, the undo tells what it has changed.
        if (!history.isUndoable())
            history.prependStep(makeAction());
        history.undo();
        break;
    case Kind::Redo:
        if (history.isRedoable()) {
            history.redo();
            break;
        }
        [[fallthrough]];
    case Kind::Step: {
        EditStep step(history);
        auto action = makeAction();
        action->applySilently();
        step.record(std::move(action));
        step.commit();
        break;
    }
    case Kind::Saved:
    case Kind::Closed:
        return;
    }
    if (!record.delta.stack.empty())
        __state = record.delta.stack;
    keepState();
}

/// What has changed about the stack beside the steps, as the slice last worked on, is not undone with them.
void JournalReplay::keepState() {
    if (partstates::ofStack(__stack) != __state)
        partstates::give(__state, __stack);
}

} // namespace vorlen
