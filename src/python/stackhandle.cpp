#include "python/stackhandle.h"

#include <unordered_set>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/history/vrlactionhistory.h"

namespace vorlen {

VRLStack& StackHandle::stack() const {
    if (__busy > 0)
        fail("Long work looks at this stack: use it again when that is done");
    return *__stack;
}

VRLStack& StackHandle::editable() const {
    VRLStack& own = stack();
    if (own.isReadOnly())
        require(Outcome::refused(own.history()->getRefusal()));
    return own;
}

std::shared_ptr<StackHandle::Part> StackHandle::partFor(const void* address) {
    std::weak_ptr<Part>& known = __parts[address];
    std::shared_ptr<Part> part = known.lock();
    if (part == nullptr) {
        part = std::make_shared<Part>(Part{address});
        known = part;
    }
    return part;
}

/// Objects are freed by histories only, which take them out of the stack first: a step before, or in the same one. So a
/// part whose address is in the stack is the part that it was.
void StackHandle::sweep() {
    if (__parts.empty())
        return;
    std::unordered_set<const void*> there;
    for (int i = 0; i < __stack->getNumModels(); ++i)
        there.insert(&__stack->getModel(i));
    for (int i = 0; i < __stack->getNumSlices(); ++i) {
        StackSlice& slice = __stack->getSlice(i);
        there.insert(&slice);
        for (int k = 0; k < slice.getNumItems(); ++k)
            there.insert(&slice.getItem(k));
    }
    for (auto it = __parts.begin(); it != __parts.end();) {
        const std::shared_ptr<Part> part = it->second.lock();
        const bool gone = there.count(it->first) == 0;
        if (part != nullptr && gone)
            part->gone = true;
        it = part == nullptr || gone ? __parts.erase(it) : std::next(it);
    }
}

} // namespace vorlen
