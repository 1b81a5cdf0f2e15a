#include "editing/operations/applyinstep.h"

#include "editing/history/editstep.h"
#include "editing/history/vrlaction.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

Outcome applyInStep(VRLStack& stack, std::unique_ptr<VRLAction> action) {
    if (stack.history()->isStepOpen())
        return Outcome::refused("Another change of this stack is not finished yet");
    if (action->isNull())
        return Outcome::done();
    EditStep step(*stack.history());
    step.apply(std::move(action));
    step.commit();
    return Outcome::done();
}

} // namespace vorlen
