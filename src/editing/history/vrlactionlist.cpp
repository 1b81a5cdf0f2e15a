#include "editing/history/vrlactionlist.h"

#include "editing/history/vrlaction.h"

namespace vorlen {

VRLActionList::VRLActionList() = default;
VRLActionList::~VRLActionList() = default;

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
    __actions.clear();
}

void VRLActionList::takeConcerned(const Model& model, std::vector<std::unique_ptr<VRLAction>>& taken) {
    for (auto& action : __actions)
        if (action->concerns(model))
            taken.push_back(std::move(action));
    std::erase(__actions, nullptr);
}

void VRLActionList::forget(const Model& model) {
    for (const auto& action : __actions)
        action->forget(model);
}

} // namespace vorlen
