#pragma once

#include "normalization/densityestimator.h"

namespace vorlen {

/// Counts the points in the cells that divide the box.
///
/// A count is neither divided by the number of patterns nor by the volume of a cell. Instantiated for float, double and
/// long double.
template <class T>
class HistogramDensityEstimator : public DensityEstimator<T> {
public:
    /// Replaces the planes by the counts and applies the masks; monitors hear of the masks only. A point on the upper
    /// face of the box falls into the last cell, a point outside is not counted, and neither is any in a map without
    /// cells.
    MapSums computeBlock(VoxelMatrix<T>& planes, const BoundingBox<T>& box, const Vector<int>& size,
                         const MapPlanes& block) override;
};

} // namespace vorlen
