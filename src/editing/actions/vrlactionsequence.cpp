#include "editing/actions/vrlactionsequence.h"

#include <algorithm>

namespace vorlen {

VRLActionSequence::VRLActionSequence(const QString& description) : __description(description) {
}

// What an early action holds may be named by a later one.
VRLActionSequence::~VRLActionSequence() {
    while (!__actions.empty())
        __actions.pop_back();
}

void VRLActionSequence::append(std::unique_ptr<VRLAction> action) {
    __actions.push_back(std::move(action));
}

void VRLActionSequence::applyNext(std::unique_ptr<VRLAction> action) {
    __actions.push_back(std::move(action));
    rollBackUnless([this] { __actions.back()->apply(); }, [this] { __actions.pop_back(); });
}

bool VRLActionSequence::isNull() const {
    return std::all_of(
        __actions.begin(), __actions.end(), [](const auto& action) { return action->isNull(); });
}

void VRLActionSequence::apply() {
    VRLAction::apply();
    for (std::size_t i = 0; i < __actions.size(); ++i)
        rollBackUnless([&] { __actions[i]->apply(); }, [&] { revertFrom(i); });
}

void VRLActionSequence::revert() {
    VRLAction::revert();
    revertFrom(__actions.size());
}

void VRLActionSequence::revertFrom(std::size_t end) {
    while (end > 0)
        __actions[--end]->revert();
}

QString VRLActionSequence::description(bool verbose) const {
    if (!__description.isEmpty())
        return __description;
    return __actions.empty() ? VRLAction::description(verbose) : __actions.front()->description(verbose);
}

} // namespace vorlen
