#include "normalization/bandwidthrule.h"

#include <algorithm>
#include <cmath>

namespace vorlen {

namespace {

struct KernelMoments {
    double roughness; ///< integral of the square along an axis
    double variance;
};

KernelMoments momentsOf(DensityKernel kernel) {
    switch (kernel) {
    case UniformKernel:
        return {1. / 2, 1. / 3};
    case EpanechnikovKernel:
        return {3. / 5, 1. / 5};
    case BiweightKernel:
        return {5. / 7, 1. / 7};
    default:
        return {1 / (2 * std::sqrt(M_PI)), 1};
    }
}

/// Squared spread of the values, whose order changes.
double squaredSpread(std::vector<double>& values) {
    const double n = double(values.size());
    double mean = 0, variance = 0;
    for (const double x : values)
        mean += x / n;
    for (const double x : values)
        variance += (x - mean) * (x - mean) / (n - 1);
    const auto quantile = [&values](double part) {
        const auto place = values.begin() + std::ptrdiff_t(part * double(values.size() - 1));
        std::nth_element(values.begin(), place, values.end());
        return *place;
    };
    const double low = quantile(0.25);
    const double quartiles = (quantile(0.75) - low) / 1.34;
    return quartiles > 0 ? std::min(variance, quartiles * quartiles) : variance;
}

} // namespace

template <class T>
double normalReferenceBandwidth(const std::vector<T>& coordinates, DensityKernel kernel) {
    std::vector<double> along[3];
    for (std::size_t p = 0; p + 2 < coordinates.size(); p += 3) {
        const T* const x = coordinates.data() + p;
        if (!std::isfinite(x[0]) || !std::isfinite(x[1]) || !std::isfinite(x[2]))
            continue;
        for (int a = 0; a < 3; ++a)
            along[a].push_back(double(x[a]));
    }
    if (along[0].size() < 2)
        return 0;
    double sum = 0;
    int axes = 0;
    for (std::vector<double>& values : along) {
        const double square = squaredSpread(values);
        sum += square;
        axes += square > 0 ? 1 : 0;
    }
    if (axes == 0)
        return 0;
    const KernelMoments moments = momentsOf(kernel);
    const double roughness = std::pow(moments.roughness, 3);
    const double curvature = std::pow(2 * std::sqrt(M_PI), -3) * (3. / 2 + 9. / 4);
    const double factor = std::pow(3 * roughness / (moments.variance * moments.variance * curvature), 1. / 7);
    return std::sqrt(sum / axes) * factor * std::pow(double(along[0].size()), -1. / 7);
}

template double normalReferenceBandwidth(const std::vector<float>& coordinates, DensityKernel kernel);
template double normalReferenceBandwidth(const std::vector<double>& coordinates, DensityKernel kernel);
template double normalReferenceBandwidth(const std::vector<long double>& coordinates, DensityKernel kernel);

} // namespace vorlen
