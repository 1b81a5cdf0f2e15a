#include "ui/registration/sectionmarks.h"

#include "editing/stacks/vrlstack.h"

namespace vorlen {

SectionMarks::SectionMarks(VRLStack& stack) : QObject(&stack), __stack(stack) {
}

SectionMarks& SectionMarks::of(VRLStack& stack) {
    auto* const marks = stack.findChild<SectionMarks*>(QString(), Qt::FindDirectChildrenOnly);
    return marks != nullptr ? *marks : *new SectionMarks(stack); // the stack's
}

void SectionMarks::setLocked(const StackSlice& slice, bool locked) {
    if (locked)
        __locked.insert(&slice);
    else
        __locked.erase(&slice);
    emit changed();
}

std::vector<bool> SectionMarks::locked() const {
    std::vector<bool> locked;
    locked.reserve(static_cast<std::size_t>(__stack.getNumSlices()));
    for (int i = 0; i < __stack.getNumSlices(); ++i)
        locked.push_back(isLocked(__stack.getSlice(i)));
    return locked;
}

void SectionMarks::setScore(const StackSlice& slice, double score) {
    if (score < 0)
        __scores.erase(&slice);
    else
        __scores[&slice] = score;
    emit changed();
}

double SectionMarks::score(const StackSlice& slice) const {
    const auto found = __scores.find(&slice);
    return found == __scores.end() ? -1 : found->second;
}

} // namespace vorlen
