#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "normalization/specimensurfaces.h"

namespace vorlen {

/// Points and where a warp is to carry them.
struct ControlPairs {
    std::vector<Point3> from;
    std::vector<Point3> to;

    int getSize() const { return int(from.size()); }
    void add(const Point3& place, const Point3& target);

    /// Points closer than a millionth of the size of all become one, at the mean of their targets. The order of the
    /// first of each stays. Tips of surfaces have a whole level of such points.
    void mergeCoincident();

    /// Leaves at most this many, evenly spread through the list.
    void thin(int most);
};

/// How good a warp is. Lengths are in the unit of the points.
struct WarpQuality {
    int controls = 0;        ///< control points after merging
    double errorBefore = 0;  ///< root mean square distance of the control points to their targets
    double errorAfter = 0;   ///< the same after the warp
    double leaveOneOut = -1; ///< root mean square error at a control point of the warp of all others; below 0: unknown
    double smoothing = 0;    ///< of a spline, as a share of the mean spacing of its control points
    double folds = 0;        ///< share of the volume in which the map turns space inside out, 0 to 1
    bool refused = false;    ///< the shapes stayed as they were, because of the folds
};

/// A warp of space with its quality.
class CohortWarp {
public:
    virtual ~CohortWarp();

    /// The place of a point.
    virtual Point3 operator()(const Point3& p) const = 0;

    const WarpQuality& getQuality() const { return __quality; }
    WarpQuality& getQuality() { return __quality; }

    /// Share of the places in the box, on a grid of 12 by 12 by 12, at which the Jacobian determinant of the map, by
    /// central differences, is not above 0. With inside only those count for which it is true, unless there is none.
    double foldedShare(const Point3& low, const Point3& high,
                       const std::function<bool(const Point3&)>& inside = nullptr) const;

    /// Spline of least bending whose control points may miss their targets: smoothing 0 goes through all; the greater
    /// it is the nearer comes the warp to an affine map. Below 0 it is chosen by the leave-one-out error, among none
    /// and powers of ten from a thousandth to a hundred, on up to 160 of the control points. The kernel is the
    /// distance. Coincident control points are merged and at most 400 used, spread evenly. Throws MathError when those
    /// left lie on one plane. Sources: G. Wahba, Spline Models for Observational Data, 1990; for the leave-one-out
    /// error without fitting again S. Rippa, Advances in Computational Mathematics 11, 1999.
    static std::unique_ptr<CohortWarp> spline(ControlPairs pairs, double smoothing = -1);

    /// Polynomials of this total degree, by least squares on up to 4000 control points, spread evenly; leave-one-out by
    /// the leverages of the fit. Coordinates are centred and scaled. Terms that the points cannot tell apart are left
    /// out.
    static std::unique_ptr<CohortWarp> polynomial(ControlPairs pairs, int degree);

protected:
    /// Fills in the errors at the pairs.
    void measure(const ControlPairs& pairs, const ControlPairs& all);

    WarpQuality __quality;
};

} // namespace vorlen
