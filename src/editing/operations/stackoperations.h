#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "editing/operations/imageslices.h"
#include "editing/operations/outcome.h"
#include "images/rasters/greyscale.h"
#include "values/lengthunit.h"
#include "values/pixelcalibration.h"

namespace vorlen {

class Pose;
class VRLStack;

/// A new stack of images: its defaults, and the files of its slices in their order.
struct NewStack {
    std::string name;
    double sliceSpacing = 1;
    PixelCalibration calibration;
    std::vector<std::string> images;
    ImageChoice choice = {};
};

/// A stack that is marked as modified and is no server's yet, with a slice for each picture of the images that can be
/// read; the others are told of. It has the grey scale of its images. Null when none can be read.
std::unique_ptr<VRLStack> makeStack(const NewStack& description, std::vector<UnreadableImage>& unreadable);

/// The same of slices that have been made.
std::unique_ptr<VRLStack> makeStack(const NewStack& description, std::vector<std::unique_ptr<StackSlice>> slices);

/// What is to be changed about a stack; the rest stays. A spacing, a calibration becomes the stack's default, and is
/// given to the slices that are named here.
struct StackChange {
    std::optional<std::string> name;
    std::optional<std::string> annotation;
    std::optional<LengthUnit> unit; // of the stack and all of its slices
    std::optional<double> spacing;
    std::vector<StackSlice*> spacingSlices;      // one that follows the default goes on following it
    std::optional<PixelCalibration> calibration; // in the stack's length unit, whatever its own
    std::vector<StackSlice*> calibrationSlices;
    std::optional<bool> absoluteImagesPath;
    std::optional<GreyScale> greyScale; // how images beyond bytes are looked at
};

/// Refused for an empty name, numbers that are no measures and slices of another stack.
Outcome changeStack(VRLStack& stack, const StackChange& change);

/// Puts a copy of the pose behind the others of the stack, under this name. Refused without a name.
Outcome recordPose(VRLStack& stack, const Pose& pose, const std::string& name);

/// Refused for a pose that there is not.
Outcome deletePose(VRLStack& stack, int place);

} // namespace vorlen
