#pragma once

#include <memory>

#include "document/modelitem.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/bus/vrleventbatch.h"
#include "editing/history/editstep.h"
#include "editing/operations/applyinstep.h"
#include "editing/operations/outcome.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

/// Runs the work of an operation, which is given the step to apply its actions in, as one step of the stack's history.
/// A step without actions leaves no trace, and is refused with the reason. What the work throws takes the step back.
/// The actions tell of themselves in one batch of events.
template <class Work>
Outcome inOneStep(VRLStack& stack, const std::string& nothing, Work&& work) {
    if (const Outcome free = mayBeginStep(stack); !free)
        return free;
    EditStep step(*stack.history());
    inEventBatch([&] { work(step); });
    const bool anything = step.getNumActions() > 0;
    step.commit();
    return anything ? Outcome::done() : Outcome::refused(nothing);
}

/// Adds the item, whose model and slice are told, to the document.
inline void applyCreation(EditStep& step, std::unique_ptr<ModelItem> item) {
    auto creation = std::make_unique<VRLItemCreationAction>(*item);
    (void)item.release(); // the document's, or the action's, from here on
    step.apply(std::move(creation));
}

} // namespace vorlen
