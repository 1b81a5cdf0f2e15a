#pragma once

#include "normalization/densityestimator.h"
#include "normalization/densitykernel.h"

namespace vorlen {

/// Kernel density estimate that knows where points could have been: corrected at the faces of the box and at the
/// surfaces of the masks, with a bandwidth from the data unless one is set.
///
/// With W the domain (the box within the masks), n_i the points of pattern i in it and h_i its bandwidth,
///
///     f_i(x) = c_i / n_i  sum over j of K_hi(x - x_ij) / integral over W of K_hi(x - y) dy      for x in W, else 0,
///
/// and the map is the mean of the f_i over the patterns that have points in W. The denominator makes good what the
/// kernel at x loses outside of W, so that points spread evenly give an even density up to the faces; c_i, about 1, is
/// then what makes the integral of f_i over W 1. Points outside of W count for nothing. Source: P. J. Diggle, A kernel
/// method for smoothing point process data, Applied Statistics 34, 1985.
///
/// The kernels are products of one for each axis, K_h(x) = product of k(x_a / h) / h, with
///
///     Gaussian      k = (2 pi)^(-1/2) exp(-u^2 / 2)
///     Uniform       k = 1 / 2               for |u| <= 1, else 0
///     Epanechnikov  k = 3 / 4 (1 - u^2)     for |u| <= 1, else 0
///     Biweight      k = 15 / 16 (1 - u^2)^2 for |u| <= 1, else 0
///
/// where those of KernelDensityEstimator, the plain estimate without correction, are radial. Without a bandwidth set,
/// that of normalReferenceBandwidth() is taken for each pattern; a pattern without spread is not spread either.
///
/// Elements are the cells that divide the box, told at their centres. Points are shared linearly by the eight cells
/// around them, which then are smoothed along one axis after the other by the integrals of the kernel over cells;
/// the variance that sharing and cells add, a fourth of a cell's squared width, is taken off the kernel's. So a kernel
/// narrower than half a cell gives a density as fine as the cells. Source: M. P. Wand, Fast computation of multivariate
/// kernel estimators, Journal of Computational and Graphical Statistics 3, 1994. The Gaussian ends at 4.5 bandwidths.
///
/// Without masks the integral that c_i makes good is that of the points, one by one: what the smoothing makes of a
/// shared point is a product of sums along the axes. So a block needs none of the others. With masks it is the sum of
/// the elements, and who makes one block goes over all planes once before, in blocks of the same size.
///
/// An element costs an operation for each cell in reach along each axis, for each pattern, whatever the number of
/// points. Planes and rows are worked on in parallel with the same bits for any number of threads. Work memory is the
/// planes of the block and those in reach of it, twice with masks, and then a byte for each of their elements.
/// Instantiated for float and double.
template <class T>
class BoundedKernelDensityEstimator : public DensityEstimator<T> {
public:
    /// Gaussian at first.
    void setKernel(DensityKernel kernel) { __kernel = kernel; }
    DensityKernel getKernel() const { return __kernel; }

    /// In the unit of the coordinates; 0, as at first, takes the rule for each pattern. Throws ValueError below 0 and
    /// for what is not finite.
    void setBandwidth(T bandwidth);
    T getBandwidth() const { return __bandwidth; }

    /// Replaces the planes. A cancelled run leaves zeros. Throws SizeError, and changes nothing, unless box and
    /// patterns are of space 3.
    MapSums computeBlock(VoxelMatrix<T>& planes, const BoundingBox<T>& box, const Vector<int>& size,
                         const MapPlanes& block) override;
    void finish(VoxelMatrix<T>& planes, const BoundingBox<T>& box, const Vector<int>& size,
                const MapSums& sums) override;
    double blockBytes(const BoundingBox<T>& box, const Vector<int>& size, const MapPlanes& block) const override;

    /// Of the last run, for each pattern.
    const std::vector<PatternReport>& getReports() const { return __reports; }

private:
    DensityKernel __kernel = GaussianKernel;
    T __bandwidth = T(0);
    std::vector<PatternReport> __reports;
};

} // namespace vorlen
