#include "spots/spotvolume.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

#include "document/stack.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "progress/progresssubject.h"

namespace vorlen {

namespace {

std::string text(double value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

std::string sizeText(const StackSlice& slice) {
    return std::to_string(slice.width()) + " x " + std::to_string(slice.height());
}

std::string quoted(const StackSlice& slice) {
    return "\"" + slice.getName() + "\"";
}

bool hasPixelSize(const StackSlice& slice) {
    const PixelCalibration& calibration = slice.getPixelCalibration();
    return calibration.getPixelWidth() > 0 && calibration.getPixelHeight() > 0;
}

bool haveEqualPixels(const StackSlice& a, const StackSlice& b) {
    const PixelCalibration &one = a.getPixelCalibration(), &other = b.getPixelCalibration();
    return one.getPixelWidth() == other.getPixelWidth() && one.getPixelHeight() == other.getPixelHeight();
}

/// Between the four pixels around the place, which is within the image.
float between(const PixelMatrix<float>& image, double column, double row) {
    const int j = std::min(int(column), std::max(0, image.getSize2() - 2));
    const int i = std::min(int(row), std::max(0, image.getSize1() - 2));
    const int right = std::min(j + 1, image.getSize2() - 1), below = std::min(i + 1, image.getSize1() - 1);
    const auto x = float(column - j), y = float(row - i);
    const float upper = image[i][j] + (x > 0 ? x * (image[i][right] - image[i][j]) : 0);
    const float lower = image[below][j] + (x > 0 ? x * (image[below][right] - image[below][j]) : 0);
    return upper + (y > 0 ? y * (lower - upper) : 0);
}

std::string imageFault(const Stack& stack) {
    const StackSlice& first = stack.getFirstSlice();
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const StackSlice& slice = stack.getSlice(i);
        if (slice.isEmpty())
            return "Slice " + quoted(slice) + " has no image";
        if (slice.width() != first.width() || slice.height() != first.height())
            return "Slice " + quoted(slice) + " has " + sizeText(slice) + " pixels and the first one " +
                   sizeText(first) + ": spots are sought in images of one size";
        if (i > 0 && !slice.getRegistration().isNull() && !(hasPixelSize(slice) && hasPixelSize(first)))
            return "Slice " + quoted(slice) +
                   " is registered onto the one before, but the pixels have no size: give the calibration first";
    }
    if (first.width() < 1 || first.height() < 1)
        return "The first image has no pixels";
    if (double(first.width()) * first.height() * stack.getNumSlices() > double(std::numeric_limits<int>::max()))
        return "The stack has more than 2,147,483,647 voxels, which is more than can be worked on at once";
    return {};
}

std::string stepFault(const Stack& stack) {
    const std::vector<double> positions = stack.getAbsolutePositions();
    const int n = int(positions.size());
    const double mean = (double(positions.back()) - double(positions.front())) / (n - 1);
    double farthest = 0;
    for (const double position : positions)
        farthest = std::max(farthest, std::abs(double(position)));
    const double tolerance = 1e-3 * std::abs(mean) + 4 * double(std::numeric_limits<float>::epsilon()) * farthest;
    // Against the most common step, so that the slice is named that is out of step.
    std::vector<double> steps;
    steps.reserve(std::size_t(n));
    for (std::size_t i = 1; i < positions.size(); ++i)
        steps.push_back(double(positions[i]) - double(positions[i - 1]));
    std::vector<double> sorted = steps;
    std::nth_element(sorted.begin(), sorted.begin() + std::ptrdiff_t(sorted.size() / 2), sorted.end());
    const double usual = sorted[sorted.size() / 2];
    const std::string unit = std::string(" ").append(stack.getLengthUnit().symbol());
    for (std::size_t i = 0; i < steps.size(); ++i)
        if (!(std::abs(steps[i] - usual) <= tolerance))
            return std::string("Slice ")
                .append(quoted(stack.getSlice(int(i) + 1)))
                .append(" lies ")
                .append(text(steps[i]) + unit)
                .append(" behind the one before and others ")
                .append(text(usual) + unit)
                .append(": spots are sought in slices at equal distances");
    return {};
}

} // namespace

std::string spotFault(const Stack& stack) {
    if (stack.getNumSlices() == 0)
        return "The stack has no slices";
    if (stack.getNumSlices() == 1)
        return "The stack has one slice only: spots are sought in a volume of at least two";
    const std::string fault = imageFault(stack);
    return fault.empty() ? stepFault(stack) : fault;
}

SpotGrid::SpotGrid(const Stack& stack) : __space(stack) {
    bool isWhereTheFirstIs = true;
    __isPixelGrid.reserve(std::size_t(stack.getNumSlices()));
    for (int k = 0; k < stack.getNumSlices(); ++k) {
        const StackSlice& slice = stack.getSlice(k);
        isWhereTheFirstIs = isWhereTheFirstIs && (k == 0 || slice.getRegistration().isNull());
        const bool noneHasSize = !hasPixelSize(slice) || !hasPixelSize(stack.getFirstSlice());
        __isPixelGrid.push_back(noneHasSize || (isWhereTheFirstIs && haveEqualPixels(slice, stack.getFirstSlice())));
    }
}

bool SpotGrid::isPixelGrid(int plane) const {
    return __isPixelGrid[std::size_t(plane)];
}

Vector<double> SpotGrid::toPixels(int plane, double column, double row) const {
    if (isPixelGrid(plane)) {
        Vector<double> place(2);
        place[0] = column;
        place[1] = row;
        return place;
    }
    const Vector<double> world = __space.toWorld(0, column, row);
    return __space.toPixels(plane, world[0], world[1]);
}

PixelMatrix<float> SpotGrid::carry(int plane, const PixelMatrix<float>& image) const {
    const int height = image.getSize1(), width = image.getSize2();
    PixelMatrix<float> result(height, width);
    const Vector<double> origin = toPixels(plane, 0, 0);
    const Vector<double> right = toPixels(plane, 1, 0), down = toPixels(plane, 0, 1);
    const double columnStep[] = {right[0] - origin[0], right[1] - origin[1]};
    const double rowStep[] = {down[0] - origin[0], down[1] - origin[1]};
    for (int i = 0; i < height; ++i)
        for (int j = 0; j < width; ++j) {
            const double u = origin[0] + j * columnStep[0] + i * rowStep[0];
            const double v = origin[1] + j * columnStep[1] + i * rowStep[1];
            result[i][j] =
                between(image, std::clamp(u, 0.0, double(width - 1)), std::clamp(v, 0.0, double(height - 1)));
        }
    return result;
}

Vector<int> spotVolumeSize(const Stack& stack) {
    Vector<int> size(3);
    size[0] = stack.getFirstSlice().height();
    size[1] = stack.getFirstSlice().width();
    size[2] = stack.getNumSlices();
    return size;
}

Vector<double> spotResolution(const Stack& stack) {
    const PixelCalibration& calibration = stack.getFirstSlice().getPixelCalibration();
    const std::vector<double> positions = stack.getAbsolutePositions();
    Vector<double> resolution(3);
    resolution[0] = calibration.getPixelHeight();
    resolution[1] = calibration.getPixelWidth();
    resolution[2] =
        std::abs(double(positions.back()) - double(positions.front())) / std::max(1, stack.getNumSlices() - 1);
    return resolution;
}

ImageColorContent spotChannel(const Stack& stack) {
    const int n = stack.getNumSlices();
    ImageColorContent common = UndefinedContent;
    for (const int i : {0, n / 2, n - 1}) {
        Image image;
        stack.getSlice(i).load(image);
        const ImageColorContent content = image.colorContent();
        if (i != 0 && content != common)
            return MixedContent;
        common = content;
    }
    return common;
}

bool readSpotVolume(const Stack& stack, ImageColorContent channel, VoxelMatrix<float>& volume,
                    ProgressSubject& progress) {
    const Vector<int> size = spotVolumeSize(stack);
    volume.setSize(size);
    VoxelCalibration calibration;
    const Vector<double> resolution = spotResolution(stack);
    Vector<float> voxel(3);
    for (int axis = 0; axis < 3; ++axis)
        voxel[axis] = float(resolution[axis]);
    calibration.setVoxelSize(voxel);
    calibration.setLengthUnit(stack.getLengthUnit());
    volume.setVoxelCalibration(calibration);
    const SpotGrid grid(stack);
    progress.notifyProgressed("Reading images...");
    for (int k = 0; k < size[2] && !progress.isCanceled(); ++k) {
        Image image;
        stack.getSlice(k).load(image);
        if (image.getHeight() != size[0] || image.getWidth() != size[1])
            throw SizeError("bool readSpotVolume(const Stack&, ImageColorContent, VoxelMatrix<float>&, "
                            "ProgressSubject&)",
                            "The image of slice " + stack.getSlice(k).getName() + " has another size than the first");
        if (channel == RedContent || channel == GreenContent || channel == BlueContent)
            volume[k].convertFromImage(image, channel == RedContent     ? RedChannel
                                              : channel == GreenContent ? GreenChannel
                                                                        : BlueChannel);
        else
            volume[k].convertGreyFromImage(image);
        if (!grid.isPixelGrid(k))
            volume[k] = grid.carry(k, volume[k]);
        progress.notifyProgressed(static_cast<unsigned int>(k + 1), static_cast<unsigned int>(size[2]));
    }
    return !progress.isCanceled();
}

} // namespace vorlen
