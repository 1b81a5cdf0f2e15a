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
    allOrNone(&VRLAction::apply, &VRLAction::revert);
}

void VRLActionList::revert() {
    allOrNone(&VRLAction::revert, &VRLAction::apply);
}

/// When one of the actions fails, those before it are taken back, the last one first.
void VRLActionList::allOrNone(void (VRLAction::*work)(), void (VRLAction::*back)()) {
    std::size_t done = 0;
    try {
        for (; done < __actions.size(); ++done)
            (*__actions[done].*work)();
    } catch (...) {
        while (done > 0) {
            try {
                (*__actions[--done].*back)();
            } catch (...) { // the others are still to be taken back
            }
        }
        throw;
    }
}

void VRLActionList::destroy() {
    while (!__actions.empty())
        __actions.pop_back();
}

} // namespace vorlen
