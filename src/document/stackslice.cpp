#include "document/stackslice.h"

#include "document/stack.h"

namespace vorlen {

StackSlice::StackSlice() = default;

StackSlice::~StackSlice() = default;

void StackSlice::setStack(Stack* stack) {
    __stack = stack;
}

bool StackSlice::isFirstSlice() const {
    return __stack == nullptr || __stack->findSlice(*this) <= 0;
}

bool StackSlice::isLastSlice() const {
    if (__stack == nullptr)
        return true;
    const int index = __stack->findSlice(*this);
    return index < 0 || index == __stack->getNumSlices() - 1;
}

StackSlice& StackSlice::prevSlice() {
    return __stack == nullptr ? *this : __stack->getPreviousSlice(*this);
}

const StackSlice& StackSlice::prevSlice() const {
    return __stack == nullptr ? *this : __stack->getPreviousSlice(*this);
}

StackSlice& StackSlice::nextSlice() {
    return __stack == nullptr ? *this : __stack->getNextSlice(*this);
}

const StackSlice& StackSlice::nextSlice() const {
    return __stack == nullptr ? *this : __stack->getNextSlice(*this);
}

void StackSlice::setRegistration(const Registration& registration) {
    __registration = registration;
}

void StackSlice::setThickness(float thickness) {
    __thickness = thickness;
}

void StackSlice::setAbsolutePosition(double position) {
    __position = position;
    __useRelativePosition = false;
    __defaultRelativePosition = false;
}

void StackSlice::setRelativePosition(double position) {
    __position = position;
    __useRelativePosition = true;
    __defaultRelativePosition = false;
}

void StackSlice::setPlacement(const Placement& placement) {
    __position = placement.position;
    __useRelativePosition = placement.relative;
    __defaultRelativePosition = placement.followsDefault;
}

double StackSlice::getAbsolutePosition() const {
    if (!__useRelativePosition)
        return __position;
    const int index = __stack == nullptr ? -1 : __stack->findSlice(*this);
    return index <= 0 ? 0 : __stack->absolutePosition(index);
}

double StackSlice::getRelativePosition() const {
    if (__defaultRelativePosition)
        return __stack == nullptr ? 0 : __stack->getDefaultRelativePosition();
    if (__useRelativePosition)
        return __position;
    const int index = __stack == nullptr ? -1 : __stack->findSlice(*this);
    return index <= 0 ? 0 : __position - __stack->absolutePosition(index - 1);
}

} // namespace vorlen
