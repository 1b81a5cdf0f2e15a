#pragma once

#include "images/volumes/voxelmatrix.h"
#include "spots/vrlspotextractionconfig.h"

namespace vorlen {

class SpotProgress;

/// The filters that make spots stand out of their ground, in place, those that are on in this order: resizing to the
/// new size (nearest voxel, with the mean where it shrinks); smoothing by mean, median, or Gauss of half the radius;
/// top-hat, the volume without its opening by a cube or by sphericalElement(), nowhere below 0; isotropy, each voxel
/// multiplied by how round its neighbourhood is, from 0 to 1 (see IsotropyFilter); resizing back to the old size.
///
/// For the smoothing the volume is continued by its mirror image: the filters themselves would leave a rim as it was,
/// or dim it, and noise in a rim that is not smoothed stands out above all spots.
///
/// The values are float: the filters choose among the values of the volume, or form sums of them in double.
///
/// Reports each step with a text, as told by numSpotFilters(). False when cancelled, with the volume filtered in part.
/// Throws as VRLSpotExtractionConfig::check().
bool filterSpotVolume(VoxelMatrix<float>& volume, const VRLSpotExtractionConfig& config, SpotProgress& progress);

/// Steps that filterSpotVolume() begins.
int numSpotFilters(const VRLSpotExtractionConfig& config);

/// Half an ellipsoid of radius r voxels and of height 200, for the top-hat: at (a, b, c) from the centre, with
/// d = a^2 + b^2 + c^2, 200 sqrt(1 - d / (r + 1)^2) where d <= r^2, and 0 outside, where it counts as height 0.
VoxelMatrix<float> sphericalElement(int radius);

/// Bytes that a run takes at most: the volume, the filtered volume, the labels, and what a filter or the cutting of
/// spots needs beside them, or the models: of filters that are not suggested, as many as noise can make. For a volume
/// of this size.
double spotMemory(const Vector<int>& size, const VRLSpotExtractionConfig& config);

} // namespace vorlen
