#pragma once

#include "values/lengthunit.h"

namespace vorlen {

/// What a pixel measures: width and height in a length unit, and their ratio.
///
/// Each of the three numbers knows whether it is still a default, so that compute() can complete what was given.
class PixelCalibration {
public:
    void setPixelWidth(float width);
    void setPixelHeight(float height);

    /// Ratio of pixel height to pixel width.
    void setAspectRatio(float ratio);
    void setLengthUnit(const LengthUnit& unit);

    float getPixelWidth() const { return __pixelWidth; }
    float getPixelHeight() const { return __pixelHeight; }
    float getAspectRatio() const { return __aspectRatio; }
    const LengthUnit& getLengthUnit() const { return __lengthUnit; }

    /// True until the value has been set.
    bool isDefaultPixelWidth() const { return __defaultWidth; }
    bool isDefaultPixelHeight() const { return __defaultHeight; }
    bool isDefaultAspectRatio() const { return __defaultAspect; }

    /// Diagonal of a pixel, in the length unit.
    float pixelDiagonal() const;

    /// Completes the calibration from the values that were set: the ratio from both sides, the second side from one
    /// side and the ratio, or a square pixel from one side alone. All three given, or none, stay as they are; so does
    /// everything when the rule would divide by zero. The completed values still count as defaults.
    /// Returns true when a value changed.
    bool compute();

    /// That of pixels which are so many times as wide and high as these. What has not been set stays a default, but
    /// where one side has been set, both are.
    PixelCalibration scaled(double across, double down) const;

    /// Equal width, height and ratio; neither the unit nor the defaults take part.
    bool operator==(const PixelCalibration& other) const;

private:
    float __pixelWidth = 1.0f;
    float __pixelHeight = 1.0f;
    float __aspectRatio = 1.0f;
    bool __defaultWidth = true;
    bool __defaultHeight = true;
    bool __defaultAspect = true;
    LengthUnit __lengthUnit;
};

} // namespace vorlen
