#pragma once

#include <string>

#include "numerics/vector.h"

namespace vorlen {

enum VRLSpotExtractionSmoothing { AverageSmoothing = 0, MedianSmoothing = 1, GaussianSmoothing = 2 };
enum VRLSpotExtractionTopHat { FlatTopHat = 0, SphericalTopHat = 1 };

/// How spots are sought: the filters with their radii in voxels, the size that the volume has while it is filtered,
/// which of the spots are kept, and what becomes of them.
///
/// Sizes are rows, columns and planes; the resolution is the size of a voxel along these, in the length unit.
class VRLSpotExtractionConfig {
public:
    /// Whether the volume is resized to the new size before the filters and back after them.
    void setResizeState(bool resize) { __resizeState = resize; }
    bool getResizeState() const { return __resizeState; }

    void setSmoothingFilterEnabled(bool enabled) { __smoothingFilterEnabled = enabled; }
    bool isSmoothingFilterEnabled() const { return __smoothingFilterEnabled; }
    void setTophatFilterEnabled(bool enabled) { __tophatFilterEnabled = enabled; }
    bool isTophatFilterEnabled() const { return __tophatFilterEnabled; }
    void setIsotropyFilterEnabled(bool enabled) { __isotropyFilterEnabled = enabled; }
    bool isIsotropyFilterEnabled() const { return __isotropyFilterEnabled; }

    void setSmoothingFilterType(VRLSpotExtractionSmoothing type) { __smoothingFilterType = type; }
    VRLSpotExtractionSmoothing getSmoothingFilterType() const { return __smoothingFilterType; }
    void setTophatFilterType(VRLSpotExtractionTopHat type) { __tophatFilterType = type; }
    VRLSpotExtractionTopHat getTophatFilterType() const { return __tophatFilterType; }

    void setSmoothingFilterRadius(int radius) { __smoothingFilterRadius = radius; }
    int getSmoothingFilterRadius() const { return __smoothingFilterRadius; }
    void setTophatFilterRadius(int radius) { __tophatFilterRadius = radius; }
    int getTophatFilterRadius() const { return __tophatFilterRadius; }
    void setIsotropyFilterRadius(int radius) { __isotropyFilterRadius = radius; }
    int getIsotropyFilterRadius() const { return __isotropyFilterRadius; }

    void setVolumeSize(const Vector<int>& size) { __volumeSize = size; }
    const Vector<int>& getVolumeSize() const { return __volumeSize; }
    void setNewSize(const Vector<int>& size) { __newSize = size; }
    const Vector<int>& getNewSize() const { return __newSize; }
    /// Two names for one value.
    void setResolution(const Vector<double>& resolution) { __resolution = resolution; }
    void setNewResolution(const Vector<double>& resolution) { __resolution = resolution; }
    const Vector<double>& getResolution() const { return __resolution; }

    /// Name of the model of the spots, or what the names of their models begin with.
    void setBasename(const std::string& basename) { __basename = basename; }
    const std::string& getBasename() const { return __basename; }
    /// A model for each spot, or one for all.
    void setSeparateModelsEnabled(bool enabled) { __separateModelsEnabled = enabled; }
    bool isSeparateModelsEnabled() const { return __separateModelsEnabled; }
    /// One point for a spot, as large as the sphere of its volume, in place of all its voxels.
    void setEquivalentSpheresEnabled(bool enabled) { __equivalentSpheresEnabled = enabled; }
    bool isEquivalentSpheresEnabled() const { return __equivalentSpheresEnabled; }

    /// Whether the filters are to be those that the images suggest, in place of the ones above: see lookForSpots().
    void setFiltersSuggested(bool suggested) { __filtersSuggested = suggested; }
    bool areFiltersSuggested() const { return __filtersSuggested; }
    /// How many columns suggested filters take the step between two planes for, by the shape that spots have in the
    /// volume: their radii across planes are so many times smaller. 1 at first, and with other filters.
    void setPlaneStep(double step) { __planeStep = step; }
    double getPlaneStep() const { return __filtersSuggested ? __planeStep : 1; }
    /// Standard deviation, in voxels, of the Gauss by which spots are smoothed before they are cut apart, for suggested
    /// filters: what is wide for a spot hides that it touches another. 1 at first, and with other filters.
    void setCutDeviation(double deviation) { __cutDeviation = deviation; }
    double getCutDeviation() const { return __filtersSuggested ? __cutDeviation : 1; }
    /// What a threshold proposed for suggested filters does not fall below; below 0, the default, for noiseLimit().
    void setLeastProposal(double threshold) { __leastProposal = threshold; }
    double getLeastProposal() const { return __leastProposal; }

    /// Whether what hangs together is cut between its brightest places: see floodSpots().
    void setSplittingEnabled(bool enabled) { __splittingEnabled = enabled; }
    bool isSplittingEnabled() const { return __splittingEnabled; }
    /// The fewest and the most voxels of a spot, both inclusive; a greatest size of 0 sets no limit.
    void setLeastSize(int voxels) { __leastSize = voxels; }
    int getLeastSize() const { return __leastSize; }
    void setGreatestSize(int voxels) { __greatestSize = voxels; }
    int getGreatestSize() const { return __greatestSize; }
    /// Whether spots that reach the first or last row, column or plane are left out: they may go on outside.
    void setBorderSpotsLeftOut(bool leftOut) { __borderSpotsLeftOut = leftOut; }
    bool areBorderSpotsLeftOut() const { return __borderSpotsLeftOut; }

    /// Throws ValueError for a radius below 1 of a filter that is on, for sizes of voxels below 0, and for a resizing
    /// to no size or to one that is too small for the windows of the filters.
    void check() const;

private:
    bool __resizeState = false;
    bool __smoothingFilterEnabled = true;
    bool __tophatFilterEnabled = true;
    bool __isotropyFilterEnabled = true;
    VRLSpotExtractionSmoothing __smoothingFilterType = MedianSmoothing;
    VRLSpotExtractionTopHat __tophatFilterType = SphericalTopHat;
    int __smoothingFilterRadius = 1;
    int __tophatFilterRadius = 3;
    int __isotropyFilterRadius = 4;
    Vector<int> __volumeSize;
    Vector<int> __newSize;
    Vector<double> __resolution;
    std::string __basename;
    bool __separateModelsEnabled = true;
    bool __equivalentSpheresEnabled = false;
    bool __filtersSuggested = false;
    double __planeStep = 1;
    double __cutDeviation = 1;
    double __leastProposal = -1;
    bool __splittingEnabled = true;
    int __leastSize = 1;
    int __greatestSize = 0;
    bool __borderSpotsLeftOut = false;
};

} // namespace vorlen
