#pragma once

namespace vorlen {

/// The ways to a density map: HistogramDensityEstimator, KernelDensityEstimator and PoissonDensityEstimator. In the
/// order in which they are offered; the numbers are those of saved settings.
enum DensityMappingMethod : int { HistogramMethod = 0, KernelMethod = 1, PoissonMethod = 2 };

} // namespace vorlen
