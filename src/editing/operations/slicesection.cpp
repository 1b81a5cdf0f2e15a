#include "editing/operations/slicesection.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <memory>
#include <stop_token>
#include <utility>

#include "document/stack.h"
#include "document/stackslice.h"
#include "images/files/imagereader.h"
#include "images/rasters/greyscale.h"
#include "images/rasters/image.h"
#include "images/sections/sectionsource.h"
#include "numerics/exception.h"
#include "registration/principalaxesmotion.h"

namespace vorlen {

RigidMotion stepOf(const StackSlice& slice, const Registration& registration) {
    const PixelCalibration& calibration = slice.getPixelCalibration();
    return motionOf(registration, calibration.getPixelWidth(), calibration.getPixelHeight());
}

Registration registrationOfStep(const StackSlice& slice, const RigidMotion& motion) {
    const PixelCalibration& calibration = slice.getPixelCalibration();
    return registrationOf(motion, calibration.getPixelWidth(), calibration.getPixelHeight());
}

const char* wordOf(AlignmentMethod method) {
    switch (method) {
    case AlignmentMethod::Features:
        return "features";
    case AlignmentMethod::PrincipalAxes:
        return "principal axes";
    case AlignmentMethod::MutualInformation:
        return "mutual information";
    default:
        return "intensity";
    }
}

SliceSection sliceSection(const StackSlice& slice, double pixel, AlignmentMethod method,
                          const std::function<bool()>& goesOn) {
    SliceSection result;
    try {
        SectionImage image = sectionImageOf(slice, goesOn);
        if (image.grey.getSize1() == 0 || image.grey.getSize2() == 0) {
            result.fault = "its image has not been read";
            return result;
        }
        result.width = image.width();
        result.height = image.height();
        result.pixel = std::sqrt(image.pixelWidth * image.pixelHeight);
        result.section = SectionAligner::prepare(image, pixel > 0 ? pixel : SectionAligner::workingPixel(image));
        result.fault = SectionAligner::fault(*result.section);
        if (method == AlignmentMethod::PrincipalAxes)
            result.image = std::move(image);
    } catch (const Exception& error) {
        result.fault = "its image can't be read: " + error.getWhat();
    } catch (const std::exception& error) {
        result.fault = std::string("its image can't be read: ") + error.what();
    }
    return result;
}

double workingPixelOfSlice(const StackSlice& slice) {
    if (slice.isEmpty())
        return 0;
    const PixelCalibration& calibration = slice.getPixelCalibration();
    const double width = calibration.getPixelWidth() > 0 ? calibration.getPixelWidth() : 1;
    const double height = calibration.getPixelHeight() > 0 ? calibration.getPixelHeight() : 1;
    return SectionAligner::workingPixel(slice.getImageSource().getSize2() * width,
                                        slice.getImageSource().getSize1() * height, std::min(width, height));
}

double workingPixelOf(const Stack& stack) {
    double pixel = 0;
    for (int i = 0; i < stack.getNumSlices(); ++i)
        pixel = std::max(pixel, workingPixelOfSlice(stack.getSlice(i)));
    return pixel;
}

SectionMatch matched(const SliceSection& source, const SliceSection& target, const RigidMotion& start,
                     const AlignmentOptions& options, bool search) {
    if (options.method != AlignmentMethod::PrincipalAxes)
        return SectionAligner::match(*source.section, *target.section, start, options.method, search);
    SectionMatch match;
    match.motion = start;
    match.method = AlignmentMethod::PrincipalAxes;
    if (const auto motion = principalAxesMotion(*source.image, *target.image, options.inverted)) {
        match.motion = *motion;
        match.found = true;
    }
    match.score = SectionAligner::score(*source.section, *target.section, match.motion);
    return match;
}

AlignmentMethod scoredBy(AlignmentMethod method, const SectionMatch* match) {
    const bool byInformation =
        method == AlignmentMethod::MutualInformation ||
        (match != nullptr && match->found && match->method == AlignmentMethod::MutualInformation);
    return byInformation ? AlignmentMethod::MutualInformation : AlignmentMethod::Intensity;
}

namespace {

/// The image of a slice. Of a section too large for memory, the largest of its levels that is small enough to be
/// matched; levels that it lacks are made, and kept for whoever looks at it later.
Image imageToMatch(const Slice& slice, const std::function<bool()>& goesOn) {
    constexpr int greatestSide = 4096;
    constexpr std::chrono::seconds patience(20); // where no levels can be kept, for pixels here and there
    Image image;
    const std::unique_ptr<TiledSection> section = openLargeSection(slice.getImageSource());
    if (section == nullptr) {
        ImageReader().read(image, slice.getImageSource());
        return image;
    }
    std::stop_source stop;
    const auto ask = [&](double) {
        if (goesOn && !goesOn())
            stop.request_stop();
    };
    try {
        if (!section->build(stop.get_token(), ask))
            return image;
    } catch (const FileWriteError&) {
        if (section->getLevels().empty())
            throw;
    }
    if (!section->readOverview(image, greatestSide, patience))
        throw FileReadError("SectionImage sectionImageOf(const Slice&)", "There is no smaller image of this section",
                            slice.getName());
    return image;
}

/// How many pixels of the slice one of its image stands for; halves are rounded up to whole pixels.
double reductionOf(int size, int reducedSize) {
    const double ratio = double(size) / std::max(reducedSize, 1);
    return std::abs(ratio - std::round(ratio)) < 0.01 ? std::round(ratio) : ratio;
}

} // namespace

SectionImage sectionImageOf(const Slice& slice, const std::function<bool()>& goesOn) {
    const Image image = imageToMatch(slice, goesOn);
    SectionImage section;
    if (image.getData() == nullptr)
        return section;
    const PixelCalibration& calibration = slice.getPixelCalibration();
    section.pixelWidth = calibration.getPixelWidth() > 0 ? calibration.getPixelWidth() : 1;
    section.pixelHeight = calibration.getPixelHeight() > 0 ? calibration.getPixelHeight() : 1;
    section.pixelWidth *= reductionOf(slice.getImageSource().getSize2(), image.getWidth());
    section.pixelHeight *= reductionOf(slice.getImageSource().getSize1(), image.getHeight());
    section.grey.convertGreyFromImage(image);
    GreyScaleFinder scale;
    scale.add(image);
    section.white = scale.find().value_or(GreyScale()).white;
    return section;
}

} // namespace vorlen
