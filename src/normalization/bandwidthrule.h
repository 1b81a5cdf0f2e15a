#pragma once

#include <vector>

#include "normalization/densitykernel.h"

namespace vorlen {

/// The normal reference rule: the bandwidth that is best for points of a normal distribution of the same spread.
///
///     h = s A n^(-1/7),   A = (3 R(K) / (mu(K)^2 (2 sqrt pi)^-3 (3/2 + 9/4)))^(1/7),
///
/// for n points in space, where R is the integral of the square of the product kernel and mu the variance of the kernel
/// along an axis; A is 0.969 for the Gaussian. Source: B. W. Silverman, Density Estimation for Statistics and Data
/// Analysis, 1986, section 4.3.2, equations 4.13 and 4.14. The spread s is the root of the mean over the axes of the
/// squared smaller one of standard deviation and interquartile range / 1.34 (his equation 3.30), so that far points and
/// several clusters widen it less; an axis along which the points have no spread is left out of the mean, and an axis
/// with more than half of its points at one place counts with its standard deviation.
///
/// coordinates: three numbers for each point. Points with a coordinate that is not finite do not count. 0 when the
/// points have no spread or are fewer than 2: there is no bandwidth in the data then.
template <class T>
double normalReferenceBandwidth(const std::vector<T>& coordinates, DensityKernel kernel);

} // namespace vorlen
