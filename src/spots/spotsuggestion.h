#pragma once

#include <string>

#include "images/volumes/voxelmatrix.h"
#include "spots/vrlspotextractionconfig.h"

namespace vorlen {

class SpotProgress;

/// What the images say of their noise and of the spots in them.
struct SpotSuggestion {
    double noise = 0;  ///< standard deviation of the noise, in grey values
    double radius = 0; ///< of the usual spot, in voxels; 0 where nothing stands out
    double step = 1;   ///< how many times longer the usual spot is along rows and columns than across planes
    double height = 0; ///< of the usual spot above its ground, in grey values
    int numSeen = 0;   ///< blobs that stand out of the sample

    /// In words: "noise 50.1, spots about 7 voxels across".
    std::string text() const;
};

/// Looks at the volume, or at eight boxes of it where it is large.
///
/// The noise is that of the second differences along rows and columns, by their median (as J. Immerkaer, Comp. Vision
/// and Image Understanding 64, 1996, which smooth shapes and ramps do not disturb). A blob is a place that stands out
/// of the difference of two Gauss filters more than anywhere beside it and in the next scales (T. Lindeberg, Int. J. of
/// Computer Vision 30, 1998), by at least six times the usual deviation of that scale. A ball of radius r does so where
/// the deviation is r / sqrt(3). The radius is the median of theirs, weighed by how bright and how large they are.
/// Their usual bends along the axes, the second derivatives at this deviation, tell how much flatter they are across
/// planes: that of a Gauss goes with the inverse of its variance, to which the deviation adds its own.
///
/// False when cancelled. Throws ValueError for an empty volume.
bool lookForSpots(const VoxelMatrix<float>& grey, SpotSuggestion& suggestion, SpotProgress& progress);

/// The greatest radius that is looked for.
constexpr double mostSuggestedRadius = 9;

/// Bytes that lookForSpots() takes beside the volume, for one of this size.
double suggestionMemory(const Vector<int>& size);

/// Sets the filters of the configuration, not its other settings, to those that suit such spots in a volume of this
/// size, or in what it is resized to: a Gauss of 0.4 times their radius, less for small ones in little noise, and a
/// flat top-hat whose window is wider than what the Gauss leaves of them; across planes by so much less as they are
/// flatter there.
///
/// Where nothing stands out, the filters suit spots of radius 5, which leaves little of a texture, whose own brightest
/// places are then the spots: the least proposal is what white noise of this deviation hardly reaches, in place of what
/// the texture does.
void setSuggestedFilters(VRLSpotExtractionConfig& config, const SpotSuggestion& suggestion, const Vector<int>& size);

/// The filters of a configuration in words: "Gaussian 3, flat top-hat 6, isotropy 4".
std::string filterText(const VRLSpotExtractionConfig& config);

} // namespace vorlen
