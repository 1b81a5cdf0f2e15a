#pragma once

#include <cmath>

#include "values/pixelcalibration.h"

namespace vorlen {

/// Whether a number can be the size of something.
inline bool isSize(double value) {
    return std::isfinite(value) && value > 0;
}

/// Whether pixels can have this size.
inline bool isPixelSize(const PixelCalibration& calibration) {
    return isSize(calibration.getPixelWidth()) && isSize(calibration.getPixelHeight()) &&
           isSize(calibration.getAspectRatio());
}

} // namespace vorlen
