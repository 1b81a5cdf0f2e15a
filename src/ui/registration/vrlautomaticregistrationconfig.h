#pragma once

#include "editing/operations/slicealignment.h"

namespace vorlen {

/// What automatic registration is to do.
struct VRLAutomaticRegistrationConfig {
    bool registerAllSlices = false; // else the current one
    AlignmentMethod method = AlignmentMethod::Auto;
    /// The rest is for a run over all slices: what they are brought onto, the place of the slice where that is one, and
    /// the places of the first and the last that may move; -1 for the last of the stack.
    AlignmentReference reference = AlignmentReference::Neighbours;
    int fixedSlice = 0;
    int first = 0;
    int last = -1;
};

} // namespace vorlen
