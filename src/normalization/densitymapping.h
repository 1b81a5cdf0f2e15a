#pragma once

#include <limits>
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
    float least = std::numeric_limits<float>::quiet_NaN(), greatest = least; ///< no number without an element
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
    /// Those that computeBlock() needs, its planes included.
    double bytes(const Grid<float>& grid, const MapPlanes& block) const;

    /// Makes the map. A cancelled run leaves zeros, or what was done of a plain one.
    DensityReport compute(VoxelMatrix<float>& map, const Grid<float>& grid);

    /// Makes the planes of a block, all but for what finish() does. A cancelled run leaves zeros, likewise.
    MapSums computeBlock(VoxelMatrix<float>& planes, const Grid<float>& grid, const MapPlanes& block);
    /// Does to planes of the map, any number of them, what needs the sums of all.
    void finish(VoxelMatrix<float>& planes, const Grid<float>& grid, const MapSums& sums);
    /// Takes finished planes, of which this is the first, into a report, which is to hear of all in their order: then
    /// its numbers have the same bits for any blocks.
    void survey(DensityReport& report, const VoxelMatrix<float>& planes, int first, const Grid<float>& grid) const;
    /// Appends the sentences, when all planes have been surveyed.
    void addNotes(DensityReport& report) const;

    /// Voxel sizes and unit for a file of the map.
    void calibrate(VoxelMatrix<float>& map, const Grid<float>& grid, int unitScale) const;

private:
    DensitySettings __settings;
    std::unique_ptr<DensityEstimator<float>> __estimator;
};

} // namespace vorlen
