#pragma once

#include "images/filters/greymorphology.h"

namespace vorlen {

/// Grey-level dilation of a volume: each voxel becomes the greatest of the voxels under the structuring element, plus
/// the element there. See GreyMorphology.
///
/// Compiled for short, unsigned short, int, unsigned int, float, double and long double.
template <class T>
class VoxelMatrixDilatation : public GreyMorphology<T, true> {};

} // namespace vorlen
