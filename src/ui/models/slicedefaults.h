#pragma once

#include "document/stackslice.h"

namespace vorlen {

/// Whether the slice lies at the stack's default distance from the slice before. The distance of a slice of absolute
/// position is a difference, which may be off by its rounding. True for a slice in no stack.
bool hasDefaultSpacing(const StackSlice& slice);

/// Whether the slice's pixels have the stack's default size. True for a slice in no stack.
bool hasDefaultPixelCalibration(const StackSlice& slice);

} // namespace vorlen
