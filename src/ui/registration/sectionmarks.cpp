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

void SectionMarks::setScore(const StackSlice* slice, const Registration& registration, double score) {
    const int place = slice == nullptr ? -1 : __stack.findSlice(*slice);
    if (place < 1)
        return;
    __scores[slice] = {registration, score, &__stack.getSlice(place - 1)};
    emit changed();
}

double SectionMarks::score(const StackSlice& slice) const {
    const auto found = __scores.find(&slice);
    const bool holds = found != __scores.end() && found->second.registration == slice.getRegistration() &&
                       found->second.onto == &slice.prevSlice();
    return holds ? found->second.value : -1;
}

std::vector<int> SectionMarks::withoutScore() const {
    std::vector<int> places;
    for (int i = 1; i < __stack.getNumSlices(); ++i)
        if (score(__stack.getSlice(i)) < 0)
            places.push_back(i);
    return places;
}

void SectionMarks::forgetScores() {
    __scores.clear();
    emit changed();
}

} // namespace vorlen
