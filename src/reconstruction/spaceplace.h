#pragma once

#include <optional>

#include "numerics/planepoint.h"

namespace vorlen {

class Stack;
class StackSlice;

/// A place in the space of a stack: world coordinates as those of StackReconstruction, in the length unit, Y up; and
/// the slice that it was found on, where there is one, which tells slices at one position apart.
struct SpacePlace {
    double x = 0, y = 0, z = 0;
    int slice = -1;

    bool operator==(const SpacePlace& other) const = default;
};

/// Where a place of a slice, column and row with whole numbers in the middles of pixels, lies in space. None for a
/// slice of another stack, and where it comes out as no finite number.
std::optional<SpacePlace> spacePlaceOf(const Stack& stack, const StackSlice& slice, PlanePoint pixel);

/// The column and the row of the slice under or over which the place lies. None as above, and for pixels without size.
std::optional<PlanePoint> pixelUnder(const Stack& stack, const StackSlice& slice, const SpacePlace& place);

/// The slice at the position nearest to the place: of several that of the place, or the first. -1 for a stack without
/// slices.
int nearestSlice(const Stack& stack, const SpacePlace& place);

} // namespace vorlen
