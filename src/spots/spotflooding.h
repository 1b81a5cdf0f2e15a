#pragma once

#include "images/volumes/voxelmatrix.h"

namespace vorlen {

class SpotProgress;

/// Numbers the spots of a volume: what lies at the threshold or above it and hangs together by faces of voxels, cut
/// where two bright places touch. Returns how many there are; the labels, of the volume's size, are from 1 on in the
/// order of the first voxel of each, plane after plane and row after row, and 0 elsewhere. A voxel that is no number is
/// outside.
///
/// The cut is a flooding from the brightest voxels down (L. Vincent and P. Soille, IEEE Trans. PAMI 13, 1991) of the
/// volume inside the spots, 0 outside, smoothed by a Gauss of this standard deviation, and across planes of the other:
/// so both a dent in brightness and a waist of the shape make two of one. Two places are one where the lower stands out
/// of the saddle between them by less than a tenth of its height, or has less than four voxels there (see
/// floodedVoxels()).
///
/// A volume more than a quarter of which lies above the threshold has no spots but a ground: it is not cut, only
/// labelled. -1 when cancelled; the labels then mean nothing. Progress is that of one step, whose text is the caller's.
int floodSpots(const VoxelMatrix<float>& volume, float threshold, VoxelMatrix<int>& labels, SpotProgress& progress,
               float deviation = 1, float planeDeviation = 1);

/// The same without cuts.
int labelSpots(const VoxelMatrix<float>& volume, float threshold, VoxelMatrix<int>& labels, SpotProgress& progress);

} // namespace vorlen
