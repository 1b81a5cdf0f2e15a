#pragma once

#include "images/filters/separablefilterbase.h"

namespace vorlen {

/// Smoothing with a Gaussian of standard deviation sigma, in elements, on every axis.
///
/// The kernel has 2 half + 1 elements, with half = 2 sigma rounded up, in proportion to exp(-i^2 / (2 sigma^2)) at
/// distance i from its middle, and a sum of 1. Sigma 0 changes nothing. Beyond the border there is nothing: near it the
/// result falls, unless a mask is set, which may be all ones.
template <class T>
class GaussianFilter : public SeparableFilterBase<T> {
public:
    /// Throws ValueError when sigma is negative, not a number, or above 500,000.
    explicit GaussianFilter(T sigma);

    void setSigma(T sigma);
    T getSigma() const { return __sigma; }

    /// Across the planes of a volume another one than along rows and columns, until setSigma(). Throws the same.
    void setPlaneSigma(T sigma);

private:
    T __sigma = T(0);
};

} // namespace vorlen
