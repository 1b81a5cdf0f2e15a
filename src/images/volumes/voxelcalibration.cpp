#include "images/volumes/voxelcalibration.h"

#include "numerics/exception.h"

namespace vorlen {

VoxelCalibration::VoxelCalibration() : __voxelSize(3) {
    __voxelSize.setOnes();
}

void VoxelCalibration::setVoxelSize(const Vector<float>& voxelSize) {
    if (voxelSize.getSize() != 3)
        throw SizeError("void VoxelCalibration::setVoxelSize(const Vector<float>&)",
                        "Size vector does not contain three values as expected");
    __voxelSize = voxelSize;
}

const Vector<float>& VoxelCalibration::getVoxelSize() const {
    return __voxelSize;
}

void VoxelCalibration::setLengthUnit(const LengthUnit& lengthUnit) {
    __lengthUnit = lengthUnit;
}

const LengthUnit& VoxelCalibration::getLengthUnit() const {
    return __lengthUnit;
}

void VoxelCalibration::setVoxelHeight(float height) {
    __voxelSize[0] = height;
}

void VoxelCalibration::setVoxelWidth(float width) {
    __voxelSize[1] = width;
}

void VoxelCalibration::setVoxelDepth(float depth) {
    __voxelSize[2] = depth;
}

float VoxelCalibration::getVoxelHeight() const {
    return __voxelSize[0];
}

float VoxelCalibration::getVoxelWidth() const {
    return __voxelSize[1];
}

float VoxelCalibration::getVoxelDepth() const {
    return __voxelSize[2];
}

} // namespace vorlen
