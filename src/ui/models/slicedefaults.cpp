#include "ui/models/slicedefaults.h"

#include <cmath>
#include <limits>

#include "document/stack.h"

namespace vorlen {

bool hasDefaultSpacing(const StackSlice& slice) {
    if (slice.getStack() == nullptr)
        return true;
    const double rounding = slice.useRelativePosition() ? 0.0
                                                        : 2 * double(std::numeric_limits<float>::epsilon()) *
                                                              std::fabs(slice.getAbsolutePosition());
    return std::fabs(slice.getRelativePosition() - slice.getStack()->getDefaultRelativePosition()) <= rounding;
}

bool hasDefaultPixelCalibration(const StackSlice& slice) {
    return slice.getStack() == nullptr || slice.getPixelCalibration() == slice.getStack()->getDefaultPixelCalibration();
}

} // namespace vorlen
