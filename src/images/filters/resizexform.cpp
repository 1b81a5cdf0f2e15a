#include "images/filters/resizexform.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

#include "images/filters/matrixresize.h"
#include "images/rasters/colormap.h"
#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

// Copies whole pixels of one row, each from the byte offset that the table gives.
template <int bytes>
void pickPixels(const unsigned char* source, unsigned char* target, const std::vector<int>& offsets) {
    for (const int offset : offsets) {
        std::memcpy(target, source + offset, bytes);
        target += bytes;
    }
}

/// The mean of each block of 2 by 2 values, of 16 bits truncated.
template <class Value, class Sum>
void halveRows(Image& target, const Image& source) {
    for (int i = 0; i < target.getHeight(); ++i) {
        // The data are allocated for any type.
        const auto* upper = reinterpret_cast<const Value*>(source.getPixels()[2 * i]);
        const auto* lower = reinterpret_cast<const Value*>(source.getPixels()[2 * i + 1]);
        auto* to = reinterpret_cast<Value*>(target.getPixels()[i]);
        for (int j = 0; j < target.getWidth(); ++j, upper += 2, lower += 2)
            to[j] = static_cast<Value>((Sum(upper[0]) + upper[1] + lower[0] + lower[1]) / 4);
    }
}

/// An image of another size shows the same, so its pixels have another size too: so many times that of the source's.
void calibrate(Image& resized, const Image& source, double across, double down) {
    resized.setPixelCalibration(source.getHeader().getPixelCalibration().scaled(across, down));
}

void calibrate(Image& resized, const Image& source) {
    if (resized.getWidth() > 0 && resized.getHeight() > 0)
        calibrate(resized, source, double(source.getWidth()) / resized.getWidth(),
                  double(source.getHeight()) / resized.getHeight());
}

void halveValues(ProgressSubject& progress, Image& target, const Image& source) {
    progress.notifyStarted("");
    Image halved;
    const int width = source.getWidth() / 2, height = source.getHeight() / 2;
    if (source.isReal()) {
        halved.initReal(width, height);
        halveRows<float, float>(halved, source);
    } else {
        halved.init(width, height, 16);
        halveRows<unsigned short, unsigned>(halved, source);
    }
    calibrate(halved, source, 2, 2);
    target.swap(halved);
    progress.notifyFinished("");
}

} // namespace

ResizeXForm::ResizeXForm(InterpolationMode interpolationMode) : __interpolationMode(interpolationMode) {
}

void ResizeXForm::setAspectFriendly(bool aspectFriendly) {
    __aspectFriendly = aspectFriendly;
}

bool ResizeXForm::isAspectFriendly() const {
    return __aspectFriendly;
}

void ResizeXForm::setSize(int width, int height) {
    if (width < 0 || height < 0)
        throw SizeError("void ResizeXForm::setSize(const int, const int)", "Image size is negative");
    __width = width;
    __height = height;
}

void ResizeXForm::convertSize(int& width, int& height) const {
    if (!__aspectFriendly) {
        width = __width;
        height = __height;
        return;
    }
    if (width < 1 || height < 1)
        return; // an image without pixels has no aspect
    const long long a = static_cast<long long>(__height) * width;
    const long long b = static_cast<long long>(__width) * height;
    const auto divide = [](long long numerator, int denominator, int box) {
        const long rounded = std::lrintf(static_cast<float>(numerator) / static_cast<float>(denominator));
        return box > 0 ? static_cast<int>(std::clamp<long>(rounded, 1, box)) : 0;
    };
    if (a <= b) {
        width = divide(a, height, __width);
        height = __height;
    } else {
        height = divide(b, width, __height);
        width = __width;
    }
}

void ResizeXForm::apply(Image& image) const {
    int width = image.getWidth();
    int height = image.getHeight();
    convertSize(width, height);
    if (width == image.getWidth() && height == image.getHeight())
        return;
    Image resized;
    apply(resized, image);
    if (__interpolationMode == NearestInterpolationMode)
        image.swap(resized);
}

void ResizeXForm::apply(Image& target, const Image& source) const {
    int width = source.getWidth();
    int height = source.getHeight();
    convertSize(width, height);
    if (width == source.getWidth() && height == source.getHeight()) {
        if (&target != &source) {
            target = source;
            calibrate(target, source);
        }
        return;
    }
    if (__interpolationMode == NearestInterpolationMode)
        __nearestResize(target, source, width, height);
}

void ResizeXForm::halve(Image& target, const Image& source) {
    Image converted;
    const Image* original = &source;
    if (source.isIndexed() && !source.getColormap()->isIdentity()) {
        converted = source;
        converted.make24bits();
        original = &converted;
    }
    const int depth = original->getDepth();
    if (depth == 16 || original->isReal()) {
        halveValues(*this, target, *original);
        return;
    }
    if (depth != 8 && depth != 24 && depth != 32)
        return;
    MatrixResize<float> resizer;
    resizer.addMonitor(*this);
    PixelMatrix<unsigned char> matrix;
    Image halved;
    if (depth == 8) {
        matrix.convertFromImage(*original);
        resizer.halve(matrix);
        matrix.convertToImage(halved);
    } else {
        halved.init(original->getWidth() / 2, original->getHeight() / 2, depth);
        for (int channel = 0; channel < depth / 8; ++channel) {
            matrix.convertFromImage(*original, static_cast<ImageChannel>(channel));
            resizer.halve(matrix);
            halved.setChannel(static_cast<ImageChannel>(channel), matrix);
        }
    }
    calibrate(halved, source, 2, 2);
    target.swap(halved);
}

void ResizeXForm::__nearestResize(Image& target, const Image& source, int width, int height) const {
    Image resized;
    if (source.isReal())
        resized.initReal(width, height);
    else
        resized.init(width, height, source.getDepth());
    if (source.isIndexed())
        resized.setColormap(*source.getColormap());
    const bool hasPixels = source.getWidth() > 0 && source.getHeight() > 0;
    if (!hasPixels && width > 0 && height > 0)
        throw SizeError("void ResizeXForm::apply(Image&, const Image&) const",
                        "Cannot enlarge an image without pixels");
    const int bytes = source.bytesPerPixel();
    std::vector<int> offsets(static_cast<std::size_t>(width));
    for (int j = 0; j < width; ++j)
        offsets[static_cast<std::size_t>(j)] =
            bytes * static_cast<int>(static_cast<long long>(source.getWidth()) * j / width);
    int lastRow = -1;
    for (int i = 0; i < height && width > 0; ++i) {
        const int row = static_cast<int>(static_cast<long long>(source.getHeight()) * i / height);
        unsigned char* const to = resized.getPixels()[i];
        const unsigned char* const from = source.getPixels()[row];
        if (row == lastRow)
            std::memcpy(to, resized.getPixels()[i - 1], static_cast<std::size_t>(resized.bytesPerLine()));
        else if (bytes == 1)
            pickPixels<1>(from, to, offsets);
        else if (bytes == 2)
            pickPixels<2>(from, to, offsets);
        else if (bytes == 3)
            pickPixels<3>(from, to, offsets);
        else
            pickPixels<4>(from, to, offsets);
        lastRow = row;
    }
    calibrate(resized, source);
    target.swap(resized);
}

} // namespace vorlen
