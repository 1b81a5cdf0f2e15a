#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "document/stackslice.h"
#include "editing/operations/imageslices.h"
#include "editing/operations/outcome.h"

namespace vorlen {

class VRLStack;

/// What is to be changed about a slice; the rest stays.
struct SliceChange {
    std::optional<std::string> name;
    std::optional<std::string> annotation;
    std::optional<double> spacing;  // to the slice before, in the stack's length unit
    std::optional<double> position; // absolute; not together with a spacing
    std::optional<float> thickness;
    std::optional<PixelCalibration> calibration; // in the stack's length unit, whatever its own
    std::optional<Registration> registration;
    const ImageSource* imageSource = nullptr;
};

/// Puts the slices, in this order, in front of slice position; behind the last for the number of slices. Those that
/// were given no pixel size take that of the slice before them. Refused for another position.
Outcome insertSlices(VRLStack& stack, int position, std::vector<std::unique_ptr<StackSlice>> slices);

/// Takes the slices out with their items, in one step. Refused for a slice of another stack.
Outcome deleteSlices(VRLStack& stack, const std::vector<StackSlice*>& slices);

/// Refused for an empty name, numbers that are no measures and a slice of another stack.
Outcome changeSlice(VRLStack& stack, StackSlice& slice, const SliceChange& change);

/// Slice order[i] comes to place i. The places keep their positions along the cutting axis. A slice that has another
/// one before it now loses its registration, which was on the old one. Refused unless each slice is named once.
Outcome reorderSlices(VRLStack& stack, const std::vector<int>& order);

/// Gives the slices, in their order, these registrations. Refused unless there is one of numbers for each slice.
Outcome setRegistrations(VRLStack& stack, const std::vector<Registration>& registrations);

} // namespace vorlen
