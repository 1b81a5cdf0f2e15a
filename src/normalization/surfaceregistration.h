#pragma once

#include <vector>

#include "normalization/specimensurfaces.h"

namespace vorlen {

/// Robust rigid registration of the surfaces of one specimen on those of another, which cannot turn it over unseen: of
/// all orientations that its principal axes allow the one with the least distance between the surfaces is taken.
///
/// Starts are the proper sign combinations and orders of the principal axes, turns of eighths about the longest one,
/// and the raw orientation with its half turns; with mirrors allowed the same of the mirror image. All are scored
/// coarsely, and the best are refined by closest points of the same structure, both ways, first on points and then
/// along normals, with weights that fade for pairs far apart, so that missing parts pull nothing. The score is the mean
/// square distance, each counted up to a twelfth of the size of the body, and pairs whose normals disagree as such.
/// When orientations are compared, pairs beside an end of a surface count at most twice the mean of the others: where
/// the sections end would else outweigh the anatomy of nearly symmetrical bodies. Sources: P. J. Besl and N. D. McKay,
/// IEEE PAMI 14, 1992; D. Chetverikov et al., Image and Vision Computing 23, 2005, for trimming; S. Rusinkiewicz, ACM
/// Transactions on Graphics 38, 2019, for the symmetrical normals.
///
/// Distances along normals tell nothing of a shift along the surfaces: where two specimens differ like a motion, it is
/// taken for one.
///
/// Decision: specimens vary, and of bodies whose ends differ by no more than that the wrong end may fit a little
/// better. So a specimen is turned by a right angle or more against its raw data only for less than half the mean
/// square distance (a smaller turn needs less), which a body gives that was cut from the other end and differs from its
/// own half turns by more than specimens do from each other; distances below half a hundredth of the body's radius tell
/// nothing. Where neither orientation is so much better, the one near the raw data is taken, and getRivalTurn() tells
/// of another that is less than 1.5 times as far off. The search begins at the raw data too and goes along normals
/// there, since steps by points roll bodies that are nearly round.
///
/// A refinement step costs some thousand closest-point questions, whatever the size of the grids. Results follow from
/// the input alone.
class SurfaceRegistration {
public:
    /// The target is seen, not owned.
    explicit SurfaceRegistration(const SpecimenSurfaces& target);

    void setMirrorsAllowed(bool allowed) { __mirrors = allowed; }

    /// The pose that brings the moving specimen on the target, from any orientation. Throws UsageError when the two
    /// have no surface of equal rank, MathError for coordinates that are not finite.
    SpecimenPose align(const SpecimenSurfaces& moving);

    /// The same from this pose and its half turns alone, of which another than the pose itself is taken only if it
    /// scores clearly better.
    SpecimenPose refine(const SpecimenSurfaces& moving, const SpecimenPose& start);

    /// The same from this pose alone, which is taken to be about right.
    SpecimenPose settle(const SpecimenSurfaces& moving, const SpecimenPose& start) const;

    /// Of the last align() or refine(): by how many degrees, more than 90, another orientation is turned against the
    /// one taken that fits about as well; 0 when there is none, so that the surfaces tell how the specimen lies.
    double getRivalTurn() const { return __rivalTurn; }

    /// Mean square of the distances of the pose as the class tells.
    double score(const SpecimenSurfaces& moving, const SpecimenPose& pose) const;

private:
    SpecimenPose finish(const SpecimenSurfaces& moving, const SpecimenSurfaces& mirrored,
                        const std::vector<SpecimenPose>& starts);
    SpecimenPose settled(const SpecimenSurfaces& body, const SpecimenPose& start) const;

    const SpecimenSurfaces& __target;
    Point3 __centre = {0, 0, 0};
    double __axes[3][3] = {};
    double __radius = 0;
    double __rivalTurn = 0;
    bool __mirrors = false;
};

/// For each surface the root mean square distance of its vertices to the closest place on the other's surface of equal
/// rank, as the two lie; -1 where either has none. Pairs whose closest place is on the border of the other, where a
/// part of it may be missing, are left out when most are not such, unless all pairs are to count.
std::vector<double> surfaceDistances(const SpecimenSurfaces& from, const SpecimenSurfaces& to, bool all = false);

} // namespace vorlen
