#include "editing/history/vrlactionhistory.h"

#include <algorithm>
#include <utility>

#include <QStringList>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/actions/vrlitemaction.h"
#include "editing/actions/vrlmodelaction.h"
#include "editing/bus/vrleventbatch.h"
#include "editing/bus/vrleventdeferral.h"
#include "editing/history/vrlaction.h"
#include "editing/history/vrlactionlist.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

/// What its first action does, to which model, on which slice, and how many more do the like.
QString nameOf(const VRLActionList& step) {
    const VRLAction& first = step.first();
    QStringList where;
    if (const auto* const action = dynamic_cast<const VRLItemAction*>(&first)) {
        if (const Model* const model = action->getItem().getModel())
            where += QString::fromStdString(model->getName());
        if (const StackSlice* const slice = action->getItem().getSlice())
            where += QString::fromStdString(slice->getName());
    } else if (const auto* const change = dynamic_cast<const VRLModelAction*>(&first)) {
        where += QString::fromStdString(change->getModel().getName());
    }
    const int more = step.getSize() - 1;
    const QString name = first.description(false);
    if (where.isEmpty())
        return name;
    return name + " (" + where.join(", ") + (more > 0 ? QString(" and %1 more").arg(more) : QString()) + ")";
}

} // namespace

VRLActionHistory::VRLActionHistory(QObject* parent) : QObject(parent) {
}

VRLActionHistory::~VRLActionHistory() = default;

void VRLActionHistory::keepContext(std::function<std::string()> read, std::function<void(const std::string&)> write) {
    __readContext = std::move(read);
    __writeContext = std::move(write);
}

void VRLActionHistory::restoreContext(const VRLActionList& step) const {
    if (__writeContext && !step.isAside())
        __writeContext(step.getContext());
}

void VRLActionHistory::openStep() {
    if (__stepOpen)
        throw UsageError("void VRLActionHistory::openStep()", "A step is already open");
    auto step = std::make_unique<VRLActionList>();
    if (__readContext)
        step->setContext(__readContext());
    __undoList.push_back(std::move(step));
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
    emit recorded(Change::Step);
    emit changed();
    emit undoEnabled(true);
}

void VRLActionHistory::prependStep(std::unique_ptr<VRLAction> action) {
    auto step = std::make_unique<VRLActionList>();
    if (__readContext)
        step->setContext(__readContext());
    step->append(std::move(action));
    __undoList.insert(__undoList.begin(), std::move(step));
    emit undoEnabled(true);
}

void VRLActionHistory::addAside(std::unique_ptr<VRLAction> action) {
    if (__stepOpen)
        throw UsageError("void VRLActionHistory::addAside(std::unique_ptr<VRLAction>)", "A step is already open");
    auto step = std::make_unique<VRLActionList>();
    step->append(std::move(action));
    step->setAside(true);
    __undoList.push_back(std::move(step));
    emit changed();
    emit undoEnabled(true);
}

const VRLAction* VRLActionHistory::nextToUndo() const {
    return __undoList.empty() || __undoList.back()->isEmpty() ? nullptr : &__undoList.back()->first();
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
    restoreContext(step);
}

void VRLActionHistory::abandonStep() noexcept {
    revertOpenStep();
    __stepOpen = false;
    __undoList.pop_back();
}

void VRLActionHistory::undo() {
    if (!isUndoable())
        return;
    makeRoom(__redoList);
    VRLEventDeferral events;
    inEventBatch([this] { __undoList.back()->revert(); }); // views follow the whole step at once
    __redoList.push_back(std::move(__undoList.back()));
    __undoList.pop_back();
    try {
        restoreContext(*__redoList.back());
    } catch (...) { // the step is undone all the same, and told
        events.keep();
    }
    if (!__redoList.back()->isAside())
        emit recorded(Change::Undo);
    emit changed();
    emit redoEnabled(true);
    emit undoEnabled(isUndoable());
    events.rethrow();
}

void VRLActionHistory::redo() {
    if (!isRedoable())
        return;
    makeRoom(__undoList);
    VRLEventDeferral events;
    inEventBatch([this] { __redoList.back()->apply(); });
    __undoList.push_back(std::move(__redoList.back()));
    __redoList.pop_back();
    if (!__undoList.back()->isAside())
        emit recorded(Change::Redo);
    emit changed();
    emit undoEnabled(true);
    emit redoEnabled(isRedoable());
    events.rethrow();
}

/// For one step more: behind a change of the document no memory is asked for.
void VRLActionHistory::makeRoom(Steps& steps) {
    if (steps.size() == steps.capacity())
        steps.reserve(2 * steps.size() + 1);
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

QStringList VRLActionHistory::getUndoDescriptions(int most) const {
    QStringList names;
    const std::size_t size = __undoList.size(), number = std::min(size, static_cast<std::size_t>(std::max(most, 0)));
    for (std::size_t k = size - number; k < size; ++k)
        names += nameOf(*__undoList[k]);
    return names;
}

QStringList VRLActionHistory::getRedoDescriptions(int most) const {
    QStringList names;
    const std::size_t size = __redoList.size(), number = std::min(size, static_cast<std::size_t>(std::max(most, 0)));
    for (std::size_t k = size; k > size - number; --k)
        names += nameOf(*__redoList[k - 1]);
    return names;
}

// The latest steps go first: what an early step took out of the document may be named by a later one.
void VRLActionHistory::destroyUndoList() {
    while (!__undoList.empty())
        __undoList.pop_back();
    __stepOpen = false;
    emit undoEnabled(false);
}

void VRLActionHistory::destroyRedoList() {
    for (auto& step : __redoList)
        step.reset();
    __redoList.clear();
    emit redoEnabled(false);
}

void VRLActionHistory::clear() {
    destroyUndoList();
    destroyRedoList();
    emit recorded(Change::Clear);
    emit changed();
}

} // namespace vorlen
