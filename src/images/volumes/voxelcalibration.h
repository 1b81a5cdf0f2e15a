#pragma once

#include "numerics/vector.h"
#include "values/lengthunit.h"

namespace vorlen {

/// What one voxel of a volume measures: height (first index), width (second index) and depth (third index), in the
/// length unit given beside them. A new calibration has voxels of 1 x 1 x 1 metre.
class VoxelCalibration {
public:
    VoxelCalibration();

    /// Height, width and depth, in this order. Throws SizeError on a vector that does not hold three values.
    void setVoxelSize(const Vector<float>& voxelSize);
    const Vector<float>& getVoxelSize() const;

    void setLengthUnit(const LengthUnit& lengthUnit);
    const LengthUnit& getLengthUnit() const;

    void setVoxelHeight(float height);
    void setVoxelWidth(float width);
    void setVoxelDepth(float depth);
    float getVoxelHeight() const;
    float getVoxelWidth() const;
    float getVoxelDepth() const;

private:
    LengthUnit __lengthUnit;
    Vector<float> __voxelSize;
};

} // namespace vorlen
