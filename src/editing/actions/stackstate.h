#pragma once

#include <optional>
#include <string>

#include "document/stackslice.h"
#include "images/rasters/greyscale.h"
#include "values/pixelcalibration.h"
#include "values/registration.h"

namespace vorlen {

class Stack;

/// What a stack says of itself, without its slices, models and poses.
struct StackState {
    explicit StackState(const Stack& stack);
    void giveTo(Stack& stack) const;
    bool operator==(const StackState& other) const;

    std::string name;
    std::string annotation;
    std::string imagesPath;
    bool absoluteImagesPath;
    double sliceSpacing;
    float sliceThickness;
    PixelCalibration calibration; // with the length unit, of the stack alone
    std::string lastRegisteredSlice;
    std::optional<GreyScale> greyScale;
};

/// What a slice says of itself, without its image and its items.
struct SliceState {
    explicit SliceState(const StackSlice& slice);
    void giveTo(StackSlice& slice) const;
    bool operator==(const SliceState& other) const;

    std::string name;
    std::string annotation;
    float thickness;
    StackSlice::Placement placement;
    PixelCalibration calibration;
    Registration registration;
};

/// The same numbers, unit and defaults, where == of calibrations looks at the numbers only.
bool isSameCalibration(const PixelCalibration& a, const PixelCalibration& b);

} // namespace vorlen
