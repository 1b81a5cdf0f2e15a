#pragma once

#include "normalization/densityestimator.h"
#include "normalization/densitykernel.h"

namespace vorlen {

/// Kernel density estimate: every point spreads a unit of mass over its neighbourhood, and the mass at a place is its
/// density per unit volume.
///
/// With m patterns of n_i points x_ij, and the bandwidth h, the density at a node x is
///
///     f(x) = 1/m  sum over i of 1/n_i  sum over j of 1/h^3 K((x - x_ij) / h),
///
/// so that patterns weigh alike whatever their numbers of points, and f integrates to 1 over space. The kernels are
/// radial and integrate to 1, with r the length of the argument:
///
///     Gaussian      K = (2 pi)^(-3/2) exp(-r^2 / 2)
///     Uniform       K = 3 / (4 pi)                     for r <= 1, else 0
///     Epanechnikov  K = 15 / (8 pi) (1 - r^2)          for r <= 1, else 0
///     Biweight      K = 105 / (32 pi) (1 - r^2)^2      for r <= 1, else 0
///
/// Source: B. W. Silverman, Density Estimation for Statistics and Data Analysis, 1986, section 4.2. The bandwidth is
/// the standard deviation of the Gaussian along an axis and the radius of the others; a Gaussian ends on each axis
/// where it falls below the rounding of T against its peak.
///
/// The nodes divide the box as those of PoissonDensityEstimator do: the first at its lower corner, the last at its
/// upper corner, and one node of an axis on the lower face. Points outside the box count with what reaches the nodes.
/// Points with undefined or infinite coordinates, and patterns that hold no other points, are left out; without points
/// the density is 0. Sums run in double for float.
///
/// A point costs an operation for each node in its reach; n nodes on each axis take work memory of n^2 numbers and of n
/// for each of 4096 points. Instantiated for float, double and long double.
template <class T>
class KernelDensityEstimator : public DensityEstimator<T> {
public:
    /// Gaussian at first.
    void setKernel(DensityKernel kernel) { __kernel = kernel; }
    DensityKernel getKernel() const { return __kernel; }

    /// In the unit of the coordinates; 10 at first. Throws ValueError unless it is above 0 and finite.
    void setBandwidth(T bandwidth);
    T getBandwidth() const { return __bandwidth; }

    /// Replaces the planes by the density at the nodes and applies the masks.
    MapSums computeBlock(VoxelMatrix<T>& planes, const BoundingBox<T>& box, const Vector<int>& size,
                         const MapPlanes& block) override;
    double blockBytes(const BoundingBox<T>& box, const Vector<int>& size, const MapPlanes& block) const override;

    /// Nodes, the first and last of an axis on the faces of the box.
    MapLattice<T> lattice(const BoundingBox<T>& box, const Vector<int>& size) const override;

private:
    DensityKernel __kernel = GaussianKernel;
    T __bandwidth = T(10);
};

} // namespace vorlen
