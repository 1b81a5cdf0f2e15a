#pragma once

#include "images/filters/greymorphology.h"

namespace vorlen {

/// Grey-level erosion of a volume: each voxel becomes the smallest of the voxels under the structuring element, less
/// the element there. See GreyMorphology.
///
/// Compiled for short, unsigned short, int, unsigned int, float, double and long double.
template <class T>
class VoxelMatrixErosion : public GreyMorphology<T, false> {};

} // namespace vorlen
