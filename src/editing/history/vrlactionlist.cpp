#include "editing/history/vrlactionlist.h"

#include "editing/history/vrlaction.h"

namespace vorlen {

VRLActionList::VRLActionList() = default;
VRLActionList::~VRLActionList() {
    destroy();
}

void VRLActionList::append(std::unique_ptr<VRLAction> action) {
    __actions.push_back(std::move(action));
}

std::unique_ptr<VRLAction> VRLActionList::takeLast() {
    std::unique_ptr<VRLAction> action = std::move(__actions.back());
    __actions.pop_back();
    return action;
}

void VRLActionList::apply() {
    for (const auto& action : __actions)
        action->apply();
}

void VRLActionList::revert() {
    for (const auto& action : __actions)
        action->revert();
}

void VRLActionList::destroy() {
    while (!__actions.empty())
        __actions.pop_back();
}

} // namespace vorlen
