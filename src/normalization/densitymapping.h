#pragma once

#include <memory>
#include <string>
#include <vector>

#include "normalization/densityestimator.h"
#include "normalization/densitykernel.h"
#include "normalization/densitymappingmethod.h"

namespace vorlen {

/// How a density map is made: what the command line and the windows offer.
struct DensitySettings {
    DensityMappingMethod method = KernelMethod;
    /// Corrected at faces and masks; without it the plain estimators, on nodes. Of no account for counts.
    bool corrected = true;
    DensityKernel kernel = GaussianKernel;
    float bandwidth = 0; ///< of a kernel; 0 takes that of the data for each pattern
    int neighbourRank = 10;
    std::string unit; ///< symbol that lengths carry in the notes; empty when it is not known

    /// Where the elements of the maps lie.
    MapLayout layout() const;
};

/// What one run of an estimator tells beside its map.
struct DensityReport {
    double integral = 0; ///< of the map over its box; for counts their sum
    float least = 0, greatest = 0;
    /// Sentences for people: bandwidths, points that lie outside, what was scaled.
    std::vector<std::string> notes;
};

/// Makes density maps by settings, each on the estimator that they stand for.
///
/// Patterns and masks are seen, not owned, and must stay as they are while the object is used. The estimator is at hand
/// for percentiles and for the places of the elements. Throws as the estimator's operations do.
class DensityMapping {
public:
    DensityMapping(const DensitySettings& settings, const std::vector<Shape<float>*>& patterns,
                   const std::vector<Shape<float>*>& masks);

    DensityEstimator<float>& estimator() { return *__estimator; }
    const DensityEstimator<float>& estimator() const { return *__estimator; }

    /// The cells or nodes of this resolution over all patterns; 0 takes a hundredth of the longest side. Throws as
    /// gridAround().
    Grid<float> grid(float resolution) const;

    /// Bytes that compute() needs on this grid, the map included.
    double bytes(const Grid<float>& grid) const;

    /// Makes the map. A cancelled run leaves zeros, or what was done of a plain one.
    DensityReport compute(VoxelMatrix<float>& map, const Grid<float>& grid);

    /// Voxel sizes and unit for a file of the map.
    void calibrate(VoxelMatrix<float>& map, const Grid<float>& grid, int unitScale) const;

private:
    void addNotes(DensityReport& report) const;

    DensitySettings __settings;
    std::unique_ptr<DensityEstimator<float>> __estimator;
};

} // namespace vorlen
