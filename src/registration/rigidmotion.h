#pragma once

#include <vector>

#include "numerics/planepoint.h"
#include "values/registration.h"

namespace vorlen {

/// A turn about the origin by an angle in radians, from x towards y, and then a translation.
///
/// The motion of a slice takes its positions onto those of the slice before it: what a Registration says in pixels and
/// degrees, this says in the length unit. Positions are seen from the middle of the slice's image, half its columns and
/// half its rows: x to the right and y down.
struct RigidMotion {
    double angle = 0, x = 0, y = 0;

    PlanePoint apply(PlanePoint point) const;

    /// First the other, then this one. The angle is the sum, not brought into one turn.
    RigidMotion operator*(const RigidMotion& other) const;

    RigidMotion inverse() const;

    bool isFinite() const;
};

/// The motion that a registration stands for on a slice of this pixel size, and back, to a thousandth of a pixel and
/// a ten thousandth of a degree. A size that is not above 0 counts as 1.
RigidMotion motionOf(const Registration& registration, double pixelWidth, double pixelHeight);
Registration registrationOf(const RigidMotion& motion, double pixelWidth, double pixelHeight);

/// Mean distance between where two motions take the points of a rectangle about the origin.
double meanDistance(const RigidMotion& first, const RigidMotion& second, double width, double height);

/// A position on one section and the one that it is to come to.
struct PointPair {
    PlanePoint source, target;
};

/// The motion that makes the sum of the weighted squared distances of the pairs least (Kabsch 1976). Weights are not
/// negative; none stands for all being 1. Without weight the motion is none; pairs that share one position are not
/// turned.
RigidMotion fitRigid(const std::vector<PointPair>& pairs, const std::vector<double>& weights = {});

/// A rigid fit of landmarks that were set by hand.
struct LandmarkFit {
    RigidMotion motion;
    /// Of each pair, also of those left out: distance between the moved source and its target, in the length unit.
    std::vector<double> residuals;
    /// Whether the pair took part in the fit.
    std::vector<bool> used;
    /// Root of the mean square of the residuals of the pairs used.
    double rms = 0;
};

/// Least squares over the pairs that agree with most of the others: from each two pairs a fit, of which the one with
/// the least median of residuals stays (Rousseeuw 1984); pairs beyond 2.5 of its robust standard deviations, and never
/// within the tolerance, are left out of the final fit. Of two pairs none is left out.
LandmarkFit fitLandmarks(const std::vector<PointPair>& pairs, double tolerance);

} // namespace vorlen
