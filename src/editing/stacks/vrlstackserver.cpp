#include "editing/stacks/vrlstackserver.h"

#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

VRLStackServer VRLStackServer::stackServer;
int VRLStackServer::__sessionNumStacks = 0;

VRLStackServer::VRLStackServer() = default;
VRLStackServer::~VRLStackServer() = default;

void VRLStackServer::addStack(VRLStack& stack) {
    __stacks.emplace_back(&stack);
    ++__sessionNumStacks;
    VRLStackOpenEvent event(&stack);
    notifyEvent(event);
}

void VRLStackServer::removeStack(VRLStack& stack) {
    if (find(stack) < 0)
        return;
    VRLStackCloseEvent event(&stack);
    notifyEvent(event);
    // The list is without the stack before the stack goes, so that nobody finds it half destroyed.
    const auto place = __stacks.begin() + find(stack);
    const std::unique_ptr<VRLStack> removed = std::move(*place);
    __stacks.erase(place);
}

int VRLStackServer::find(const VRLStack& stack) const {
    for (int i = 0; i < getNumStacks(); ++i)
        if (&getStack(i) == &stack)
            return i;
    return -1;
}

VRLStack& VRLStackServer::getPreviousStack(const VRLStack& stack) const {
    const int i = find(stack);
    return getStack(i > 0 ? i - 1 : getNumStacks() - 1);
}

VRLStack& VRLStackServer::getNextStack(const VRLStack& stack) const {
    const int i = find(stack);
    return getStack(i + 1 < getNumStacks() ? i + 1 : 0);
}

} // namespace vorlen
