#pragma once

#include "normalization/densityestimator.h"

namespace vorlen {

/// Density from the distances to the k-th nearest point of each pattern, corrected at the faces of the box and at the
/// surfaces of the masks.
///
/// At the centre of a cell where the k-th point of pattern i of m is at distance d_i, the density is (k m - 1) / sum of
/// V_i, where V_i is the volume of what the ball of radius d_i shares with the domain W, the box within the masks. For
/// a Poisson process in W the volumes searched up to the k-th point are gamma distributed whatever their form, so that
/// the estimate stays unbiased up to the faces, where PoissonDensityEstimator, the plain one, counts volume in which no
/// point could be. Source: J. H. Pollard, Biometrics 27, 1971, with the volumes of W.
///
/// The box's part of a ball is that of clippedBallVolume(); of it the masks leave the share of the cells around the
/// centre that lie in W, counted row by row (every second, third... row for balls of more than 16 cells). Points and
/// cells outside of W count for nothing. Finally the map is scaled to integrate to the mean number of points of a
/// pattern in W, of which an estimate by neighbours falls short or is in excess by some per cent; integralBefore()
/// tells by how much.
///
/// A cell costs a search in each pattern, O(k log n), or its share of that of a block of cells (BlockSearch). Blocks
/// are worked on in parallel with the same bits for any number of threads. Work memory is that of the search trees, and
/// with masks five bytes for each cell, of a block of planes also those of the whole map, for balls may reach anywhere.
/// Instantiated for float and double.
template <class T>
class BoundedPoissonDensityEstimator : public DensityEstimator<T> {
public:
    /// The k of the class, 10 at first. Throws ValueError below 1.
    void setNeighbourRank(int rank);
    int getNeighbourRank() const { return __neighbourRank; }

    /// Replaces the planes by what finish() scales. A cancelled run leaves zeros. Throws UsageError, and changes
    /// nothing, when a pattern has fewer than k points in the domain, SizeError unless box and patterns are of space 3.
    MapSums computeBlock(VoxelMatrix<T>& planes, const BoundingBox<T>& box, const Vector<int>& size,
                         const MapPlanes& block) override;
    void finish(VoxelMatrix<T>& planes, const BoundingBox<T>& box, const Vector<int>& size,
                const MapSums& sums) override;
    double blockBytes(const BoundingBox<T>& box, const Vector<int>& size, const MapPlanes& block) const override;

    /// Of the last run: the integral before scaling, the mean number of points of a pattern in the domain, and the mean
    /// distance to the k-th point over cells of the domain and patterns.
    double integralBefore() const { return __integralBefore; }
    double meanNumPoints() const { return __meanNumPoints; }
    double meanDistance() const { return __meanDistance; }

private:
    int __neighbourRank = 10;
    double __integralBefore = 0;
    double __meanNumPoints = 0;
    double __meanDistance = 0;
};

} // namespace vorlen
