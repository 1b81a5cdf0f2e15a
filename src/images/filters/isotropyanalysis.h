#pragma once

namespace vorlen {

/// How IsotropyFilter makes one number of the covariance matrix of a neighbourhood's mass: the ratio of its smallest to
/// its greatest eigenvalue, or its determinant over that of a sphere of the same trace.
enum IsotropyAnalysis : int { EigenvalueRatioAnalysis = 0, SphericityAnalysis = 1 };

} // namespace vorlen
