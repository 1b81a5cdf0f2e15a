#include "editing/history/vrlactionhistory.h"

#include "editing/bus/vrleventdeferral.h"
#include "editing/history/vrlaction.h"
#include "editing/history/vrlactionlist.h"
#include "numerics/exception.h"

namespace vorlen {

VRLActionHistory::VRLActionHistory(QObject* parent) : QObject(parent) {
}

VRLActionHistory::~VRLActionHistory() = default;

void VRLActionHistory::openStep() {
    if (__stepOpen)
        throw UsageError("void VRLActionHistory::openStep()", "A step is already open");
    __undoList.push_back(std::make_unique<VRLActionList>());
    __stepOpen = true;
    ++__stepNumber;
}

void VRLActionHistory::closeStep() {
    requireStep("void VRLActionHistory::closeStep()", "No open step to close");
    __stepOpen = false;
    if (__undoList.back()->isEmpty()) {
        __undoList.pop_back();
        return;
    }
    if (isRedoable())
        destroyRedoList();
    emit changed();
    emit undoEnabled(true);
}

void VRLActionHistory::requireStep(const char* caller, const char* reason) const {
    if (!__stepOpen)
        throw UsageError(caller, reason);
}

void VRLActionHistory::push(VRLAction* action, bool applies) {
    std::unique_ptr<VRLAction> owned(action);
    requireStep("void VRLActionHistory::push(VRLAction*, const bool)", "No step was open prior to action insertion");
    if (applies)
        apply(std::move(owned));
    else
        record(std::move(owned));
    destroyRedoList();
}

int VRLActionHistory::getNumOpenActions() const {
    return __stepOpen ? __undoList.back()->getSize() : 0;
}

// The action is in the list before it is applied, so that no lack of memory comes between the change and its record. A
// client that hears of it may clear the history, and the step is gone then.
void VRLActionHistory::apply(std::unique_ptr<VRLAction> action) {
    requireAllowed(*action);
    const unsigned int number = __stepNumber;
    VRLAction& applied = *action;
    VRLEventDeferral events;
    __undoList.back()->append(std::move(action));
    bool changed = false;
    try {
        applied.apply();
        changed = true;
        events.rethrow();
    } catch (...) {
        if (__stepOpen && __stepNumber == number) {
            if (!changed)
                __undoList.back()->takeLast();
            revertOpenStep();
        }
        throw;
    }
}

void VRLActionHistory::record(std::unique_ptr<VRLAction> action) {
    try {
        requireAllowed(*action);
    } catch (...) {
        action->revert();
        throw;
    }
    __undoList.back()->append(std::move(action));
}

void VRLActionHistory::requireAllowed(const VRLAction& action) const {
    if (!__refusal.empty() && action.changesDocument())
        throw UsageError("VRLActionHistory", __refusal);
}

void VRLActionHistory::revertOpenStep() noexcept {
    const VRLEventDeferral events;
    VRLActionList& step = *__undoList.back();
    while (!step.isEmpty()) {
        const std::unique_ptr<VRLAction> last = step.takeLast();
        try {
            last->revert();
        } catch (...) { // the others are still to be reverted
        }
    }
}

void VRLActionHistory::abandonStep() noexcept {
    revertOpenStep();
    __stepOpen = false;
    __undoList.pop_back();
}

void VRLActionHistory::undo() {
    if (!isUndoable())
        return;
    VRLEventDeferral events;
    __undoList.back()->revert();
    __redoList.push_back(std::move(__undoList.back()));
    __undoList.pop_back();
    emit changed();
    emit redoEnabled(true);
    emit undoEnabled(isUndoable());
    events.rethrow();
}

void VRLActionHistory::redo() {
    if (!isRedoable())
        return;
    VRLEventDeferral events;
    __redoList.back()->apply();
    __undoList.push_back(std::move(__redoList.back()));
    __redoList.pop_back();
    emit changed();
    emit undoEnabled(true);
    emit redoEnabled(isRedoable());
    events.rethrow();
}

bool VRLActionHistory::isUndoable() const {
    return !__undoList.empty();
}

bool VRLActionHistory::isRedoable() const {
    return !__redoList.empty();
}

QString VRLActionHistory::description(const Steps& steps, bool verbose, const QString& nothing) {
    return steps.empty() || steps.back()->isEmpty() ? nothing : steps.back()->first().description(verbose);
}

QString VRLActionHistory::getUndoDescription(bool verbose) const {
    return description(__undoList, verbose, "(Nothing to undo)");
}

QString VRLActionHistory::getRedoDescription(bool verbose) const {
    return description(__redoList, verbose, "(Nothing to redo)");
}

// The latest steps go first: what an early step took out of the document may be named by a later one.
void VRLActionHistory::destroyUndoList() {
    while (!__undoList.empty())
        __undoList.pop_back();
    __stepOpen = false;
    emit undoEnabled(false);
}

void VRLActionHistory::destroyRedoList() {
    while (!__redoList.empty())
        __redoList.pop_back();
    emit redoEnabled(false);
}

void VRLActionHistory::clear() {
    destroyUndoList();
    destroyRedoList();
    emit changed();
}

void VRLActionHistory::forget(const Model& model) {
    // Actions own items that others name: nothing is deleted before all have been asked.
    std::vector<std::unique_ptr<VRLAction>> concerned;
    for (Steps* steps : {&__undoList, &__redoList})
        for (auto step = steps->rbegin(); step != steps->rend(); ++step)
            (*step)->takeConcerned(model, concerned);
    concerned.clear();
    for (Steps* steps : {&__undoList, &__redoList}) {
        for (const auto& step : *steps)
            step->forget(model);
        const bool open = steps == &__undoList && __stepOpen;
        const VRLActionList* const openStep = open ? steps->back().get() : nullptr;
        std::erase_if(*steps, [openStep](const auto& step) { return step->isEmpty() && step.get() != openStep; });
    }
    emit changed();
    emit undoEnabled(isUndoable());
    emit redoEnabled(isRedoable());
}

} // namespace vorlen
