#pragma once

#include <array>

#include "images/volumes/voxelmatrix.h"

namespace vorlen {

/// The box of so many rows, columns and planes whose first voxel lies at this place (row, column, plane) of the volume,
/// or before it: beyond each end the volume goes on as its mirror image, whose first voxel is not doubled. Without the
/// calibration.
VoxelMatrix<float> mirroredPart(const VoxelMatrix<float>& volume, const std::array<int, 3>& first,
                                const std::array<int, 3>& size);

} // namespace vorlen
