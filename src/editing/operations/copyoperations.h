#pragma once

#include <vector>

#include "editing/operations/outcome.h"

namespace vorlen {

class StackSlice;
class VRLStack;

/// Copies what is selected on a slice to others of its stack, in one step of the history: to where it lies in space, as
/// registrations and pixel sizes tell, at the nearest pixel. Contours go as a whole; of points the selected ones, into
/// the points of the model that the other slice has already, where there are any. The copies have the look of what they
/// were made of, and are what is selected on the other slices then. The slice itself is passed over.
///
/// Refused when nothing is selected, when there is no other slice, and when a slice's pixels have no size.
Outcome copySelection(VRLStack& stack, StackSlice& slice, const std::vector<StackSlice*>& targets);

/// The same for so many slices before and behind the slice, as far as the stack goes; below 1 none on that side.
Outcome copySelectionAround(VRLStack& stack, StackSlice& slice, int before, int behind);

} // namespace vorlen
