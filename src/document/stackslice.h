#pragma once

#include <concepts>

#include "document/modelitemowner.h"
#include "document/slice.h"
#include "numerics/maths.h"
#include "values/registration.h"

namespace vorlen {

class Stack;

/// A physical section of a stack: an image at a position along the cutting axis, with the items drawn on it.
///
/// The position is one number, absolute or relative to the slice before; a slice whose position was never set moves
/// with the stack's default spacing. A slice that is in no stack counts as the first one. Deletes its items.
class StackSlice : public ModelItemOwner, public Slice {
public:
    StackSlice();
    ~StackSlice() override;

    /// Stores the pointer only; Stack::addSlice() does it for the slices that it takes.
    void setStack(Stack* stack);
    Stack* getStack() const { return __stack; }

    bool isFirstSlice() const;
    bool isLastSlice() const;

    /// The neighbours; the slice itself at the ends of the stack and outside of any.
    StackSlice& prevSlice();
    const StackSlice& prevSlice() const;
    StackSlice& nextSlice();
    const StackSlice& nextSlice() const;

    /// Placement on the slice before.
    void setRegistration(const Registration& registration);
    Registration& getRegistration() { return __registration; }
    const Registration& getRegistration() const { return __registration; }

    void setThickness(float thickness);
    float getThickness() const { return __thickness; }

    /// Positions are in the stack's length unit. Those of single precision stand for their shortest decimals, since
    /// stacks keep and write what a person has typed.
    void setAbsolutePosition(double position);
    void setRelativePosition(double position);
    void setAbsolutePosition(std::same_as<float> auto position) {
        setAbsolutePosition(Maths::shortestDecimal(position));
    }
    void setRelativePosition(std::same_as<float> auto position) {
        setRelativePosition(Maths::shortestDecimal(position));
    }

    /// True when the slice is placed relative to the slice before.
    bool useRelativePosition() const { return __useRelativePosition; }

    /// True until a position has been set: the slice follows the stack's default spacing.
    bool isDefaultRelativePosition() const { return __defaultRelativePosition; }

    /// How the slice is placed, to be put back as it was.
    struct Placement {
        double position = 0;
        bool relative = true;
        bool followsDefault = true;

        bool operator==(const Placement& other) const = default;
    };
    Placement getPlacement() const { return {__position, __useRelativePosition, __defaultRelativePosition}; }
    void setPlacement(const Placement& placement);

    /// Walks back to the last slice of absolute position, or to the first slice. Stack::getAbsolutePositions() gives
    /// those of all slices in one walk.
    double getAbsolutePosition() const;

    /// The distance to the slice before; 0 for a first slice of absolute position.
    double getRelativePosition() const;

private:
    friend class Stack;

    Stack* __stack = nullptr;
    float __thickness = 0;
    double __position = 0;
    bool __useRelativePosition = true;
    bool __defaultRelativePosition = true;
    Registration __registration;
    // Where the stack last put this slice; a hint that the stack checks.
    int __indexHint = 0;
};

} // namespace vorlen
