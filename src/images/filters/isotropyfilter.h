#pragma once

#include <type_traits>

#include "images/filters/isotropyanalysis.h"
#include "images/filters/neighbourhoodfilter.h"
#include "images/volumes/voxelmatrixprocessing.h"

namespace vorlen {

/// Replaces each voxel by an index of how round the mass of its neighbourhood is, from 0 (flat or thin) to 1.
///
/// The neighbourhood is the cube of half size h, clipped to the volume; its values are taken for masses at their
/// offsets from the centre, of which the covariance matrix is formed. With D its determinant and t its trace the
/// analysis 1, the default, gives D (3 / t)^3; analysis 0 gives the ratio of the smallest to the greatest eigenvalue;
/// any other 0. An index is 0 where the mass, the determinant or the index itself lies below the tolerance, epsilon (2h
/// + 1)^3 with the epsilon of the type of the moments, and a voxel of value 0 stays 0. It is NaN where the
/// neighbourhood holds a NaN or an infinity. With a half size below 1 the volume stays.
///
/// The ten moments of a cube are separable: sums over planes, of them over rows, of them over columns, each with the
/// powers of its offset, cost 19 (2h + 1) multiplications for a voxel. (To form each slab's moments anew as the window
/// moves would cost 6 (2h + 1)^2.) Moments of float are formed in double. No sum is carried on from one window to the
/// next, so that no rounding is.
///
/// The volume is worked on by all threads of ParallelWork, and needs, beside itself, the memory of at most h planes and
/// a 32nd of its own, or of all planes where these are not more than 1 MB.
///
/// A run reports a step for each plane. When it is cancelled, notifyCanceled() takes the place of notifyFinished(): a
/// volume of at most 1 MB is then as it was, and of a greater one the planes up to some place are replaced.
///
/// Compiled for float, double and long double.
template <class T>
class IsotropyFilter : public NeighbourhoodFilter, public VoxelMatrixProcessing<T> {
public:
    IsotropyFilter();

    /// Sets the tolerance with it. Below 0 counts as 0 there.
    void setHalfSize(int halfSize) override;
    void setAnalysis(IsotropyAnalysis analysis) { __analysis = analysis; }
    IsotropyAnalysis getAnalysis() const { return __analysis; }

    /// How many columns lie between two planes, for spots that are round in these steps: offsets across planes count so
    /// many times, and the cube reaches over as many planes as its half size has such steps, at least one. 1 at first.
    /// Throws ValueError unless it is a positive number.
    void setPlaneStep(double step);

    void apply(VoxelMatrix<T>& volume) override;

private:
    /// Type of the moments.
    using Real = std::conditional_t<std::is_same_v<T, float>, double, T>;

    Real __tolerance = Real(0);
    double __planeStep = 1;
    IsotropyAnalysis __analysis = SphericityAnalysis;
};

} // namespace vorlen
