#pragma once

#include <string>

#include "images/volumes/voxelmatrix.h"
#include "spots/vrlspotextractionconfig.h"

namespace vorlen {

/// How a threshold is proposed.
enum class SpotThresholdRule {
    FirstRise, ///< the first whole value that more voxels have than the one before: the noise ends there
    Isodata,   ///< midway between the means on its two sides (see IsodataThresholding)
    Otsu,      ///< the least variance within the two classes (N. Otsu, IEEE Trans. SMC 9, 1979)
};

/// The word on a command line: "first-rise", "isodata", "otsu".
std::string toString(SpotThresholdRule rule);

/// A threshold between spots and ground in a filtered volume, where voxels from it on are those of spots.
///
/// The first rise is looked for from 1 on in bins of width 1, and 0 where there is none. Isodata and Otsu's rule look
/// at the voxels above 0 alone, in 4096 bins of equal width up to the maximum: those at 0 are the ground already, which
/// the filters have cleared, and are so many that they would drown the spots. But where there are less than a
/// twentieth as many above, these are all of spots, and the rules would part the spots' middles from their rims: then
/// those at 0 count too. Voxels that are no number don't count.
/// Throws ValueError for an empty volume, and where no voxel is a number.
double proposeSpotThreshold(const VoxelMatrix<float>& filtered, SpotThresholdRule rule);

/// The thresholds that can be set for a filtered volume: whole numbers from the rounded minimum to the rounded maximum,
/// or, where the values lie so close together that these would be too few, decimals of the values' own range.
struct SpotThresholdScale {
    explicit SpotThresholdScale(const VoxelMatrix<float>& filtered);

    /// The least of them that is not below the value: what lies below a proposal stays below the threshold. The
    /// maximum for a value beyond it.
    double roundedUp(double value) const;

    double minimum = 0, maximum = 0;
    int decimals = 0;
};

/// What noise hardly reaches in a volume that has been through the suggested filters, as far above the median as eight
/// times what a sixth of the voxels lie below it: the noise that these filters leave is not normal, but has a long end
/// above. Of a million and a half voxels of nothing but noise the highest lies at seven times. Throws as above.
double noiseLimit(const VoxelMatrix<float>& filtered);

/// The threshold that a run begins with: by the rule, and with suggested filters, for Isodata and Otsu, not within the
/// noise, which is the limit above; or, with a least proposal in the configuration, not below this, nor below what 95
/// of 100 voxels have: of a texture in which nothing stands out the brightest places only. It is one of those that can
/// be set (SpotThresholdScale), so that a run without a window finds what one with the proposal of the window finds.
double proposeSpotThreshold(const VoxelMatrix<float>& filtered, SpotThresholdRule rule,
                            const VRLSpotExtractionConfig& config);

} // namespace vorlen
