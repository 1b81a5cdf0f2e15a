#pragma once

#include <vector>

#include "editing/operations/outcome.h"
#include "values/registration.h"

namespace vorlen {

class Stack;
class VRLStack;

/// The registrations of all slices once slice `slice` has this one. The slices behind it as far as `last` go along; the
/// next one gets the registration with which it, and all behind it, stay where they lie in space. Slices that are
/// locked keep their registration, so that a locked one behind `last` goes along as well. Locked has an entry for each
/// slice, or none. Throws RangeError unless 0 <= slice <= last < the number of slices.
std::vector<Registration> placedRegistrations(const Stack& stack, int slice, const Registration& registration, int last,
                                              const std::vector<bool>& locked = {});

/// Sets these registrations in one step, and notes the slice as the one that was registered last. Refused for a
/// registration that is no number, for a locked slice, and for slices that are not there.
Outcome placeSlice(VRLStack& stack, int slice, const Registration& registration, int last,
                   const std::vector<bool>& locked = {});

} // namespace vorlen
