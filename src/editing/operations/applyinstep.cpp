#include "editing/operations/applyinstep.h"

#include "editing/history/editstep.h"
#include "editing/history/vrlaction.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

Outcome mayBeginStep(const VRLStack& stack) {
    return stack.history()->isStepOpen() ? Outcome::refused("Another change of this stack is not finished yet")
                                         : Outcome::done();
}

Outcome applyInStep(VRLStack& stack, std::unique_ptr<VRLAction> action) {
    if (const Outcome free = mayBeginStep(stack); !free)
        return free;
    if (action->isNull())
        return Outcome::done();
    EditStep step(*stack.history());
    step.apply(std::move(action));
    step.commit();
    return Outcome::done();
}

} // namespace vorlen
