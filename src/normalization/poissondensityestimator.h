#pragma once

#include <memory>
#include <vector>

#include "normalization/densityestimator.h"
#include "shapes/kdtree.h"

namespace vorlen {

/// Density from the distances to the k-th nearest point of each pattern.
///
/// At a node where the k-th point of pattern i of m is at distance d_i, the density is (k m - 1) / sum of 4/3 pi d_i^3,
/// the unbiased estimate of the intensity of a Poisson process that all patterns sample: the sum of the volumes is
/// gamma distributed. Source: J. H. Pollard, On distance estimators of density in randomly distributed forests,
/// Biometrics 27, 1971, for the plane.
///
/// The nodes divide the box with the first at its lower corner and the last at its upper corner; an axis with one node
/// has it on the lower face. A node that coincides with the k-th point of every pattern has an infinite density, one
/// pattern and k = 1 give 0 everywhere, and so do no patterns.
///
/// The search tree of a pattern is built by addShape(): points that move later are not followed. A node costs a search
/// in each tree, O(k log n). Instantiated for float, double and long double.
template <class T>
class PoissonDensityEstimator : public DensityEstimator<T> {
public:
    /// Throws UsageError, and adds nothing, when the shape is empty or lies on several servers.
    void addShape(Shape<T>& shape) override;
    void removeShape(Shape<T>& shape) override;

    /// The k of the class, 1 at first. Throws ValueError below 1.
    void setNeighbourRank(int rank);
    int getNeighbourRank() const { return __neighbourRank; }

    /// Fills the planes, writes the mean distance to the k-th point, when these are all planes of the map, to the
    /// standard output, and applies the masks. Throws UsageError, and changes nothing, when a pattern has fewer than k
    /// points.
    MapSums computeBlock(VoxelMatrix<T>& planes, const BoundingBox<T>& box, const Vector<int>& size,
                         const MapPlanes& block) override;
    double blockBytes(const BoundingBox<T>& box, const Vector<int>& size, const MapPlanes& block) const override;

    /// Nodes, the first and last of an axis on the faces of the box.
    MapLattice<T> lattice(const BoundingBox<T>& box, const Vector<int>& size) const override;

private:
    std::vector<std::unique_ptr<KDTree<T>>> __kdTrees; // in the order of the shapes
    int __neighbourRank = 1;
};

} // namespace vorlen
