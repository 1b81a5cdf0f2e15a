#pragma once

#include <memory>

#include "editing/operations/outcome.h"

namespace vorlen {

class VRLAction;
class VRLStack;

/// Whether a step can begin: refused while another one of the stack is open.
Outcome mayBeginStep(const VRLStack& stack);

/// Applies the action in a step of its own; a null action leaves no step. Refused while another step of the stack is
/// open. What clients of the bus throw goes on, and the action is reverted then.
Outcome applyInStep(VRLStack& stack, std::unique_ptr<VRLAction> action);

} // namespace vorlen
