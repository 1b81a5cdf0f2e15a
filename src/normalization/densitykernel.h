#pragma once

namespace vorlen {

/// Kernels of a density estimate, in the order in which they are offered. The numbers are those of saved settings.
enum DensityKernel : int { GaussianKernel = 0, UniformKernel = 1, EpanechnikovKernel = 2, BiweightKernel = 3 };

} // namespace vorlen
