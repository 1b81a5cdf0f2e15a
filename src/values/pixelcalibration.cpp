#include "values/pixelcalibration.h"

#include <cmath>

namespace vorlen {

void PixelCalibration::setPixelWidth(float width) {
    __pixelWidth = width;
    __defaultWidth = false;
}

void PixelCalibration::setPixelHeight(float height) {
    __pixelHeight = height;
    __defaultHeight = false;
}

void PixelCalibration::setAspectRatio(float ratio) {
    __aspectRatio = ratio;
    __defaultAspect = false;
}

void PixelCalibration::setLengthUnit(const LengthUnit& unit) {
    __lengthUnit = unit;
}

float PixelCalibration::pixelDiagonal() const {
    return std::sqrt(__pixelWidth * __pixelWidth + __pixelHeight * __pixelHeight);
}

bool PixelCalibration::compute() {
    const PixelCalibration before = *this;
    if (__defaultAspect) {
        if (!__defaultWidth && !__defaultHeight) {
            if (__pixelWidth != 0)
                __aspectRatio = __pixelHeight / __pixelWidth;
        } else if (!__defaultWidth) {
            __pixelHeight = __pixelWidth;
        } else if (!__defaultHeight) {
            __pixelWidth = __pixelHeight;
        }
    } else if (__defaultHeight) {
        __pixelHeight = __aspectRatio * __pixelWidth;
    } else if (__defaultWidth && __aspectRatio != 0) {
        __pixelWidth = __pixelHeight / __aspectRatio;
    }
    return !(*this == before);
}

PixelCalibration PixelCalibration::scaled(double across, double down) const {
    PixelCalibration result = *this;
    if (!__defaultWidth || !__defaultHeight) {
        result.setPixelWidth(float(double(__pixelWidth) * across));
        result.setPixelHeight(float(double(__pixelHeight) * down));
    }
    const auto ratio = float(double(__aspectRatio) * down / across);
    if (!__defaultAspect)
        result.setAspectRatio(ratio);
    else if (!__defaultWidth || !__defaultHeight)
        result.__aspectRatio = ratio;
    return result;
}

bool PixelCalibration::operator==(const PixelCalibration& other) const {
    return __pixelWidth == other.__pixelWidth && __pixelHeight == other.__pixelHeight &&
           __aspectRatio == other.__aspectRatio;
}

} // namespace vorlen
