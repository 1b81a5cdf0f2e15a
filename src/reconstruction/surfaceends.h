#pragma once

#include <optional>

#include "numerics/planepoint.h"
#include "shapes/trimesh.h"

namespace vorlen {

/// How a surface ends beyond its first or last contour.
enum class SurfaceEnd {
    Open,        ///< at the contour, as the contours were drawn
    Flat,        ///< by a lid on the contour
    HalfSection, ///< half way to the next section, where the contours lead, as large as their areas let expect: a tip
                 ///< where they shrink
    NextSection  ///< in a tip on the next section
};

/// Both ends of a surface.
struct SurfaceEnds {
    SurfaceEnd begin = SurfaceEnd::HalfSection;
    SurfaceEnd end = SurfaceEnd::HalfSection;
};

/// How an end lies to its contour: so much above it, so far aside of it, and so many times its size about a point
/// inside of it. A scale of 0 makes a tip, a rise of 0 a lid on the contour.
template <class T>
struct EndShape {
    T rise = 0;
    T scale = 1;
    T asideX = 0;
    T asideY = 0;

    /// The prism of this end's volume. Contours that are hollow, or have holes, would make long folds on their way to a
    /// point.
    EndShape blunt() const {
        const T share = (1 + scale + scale * scale) / 3;
        return {rise * share, 1, asideX * share, asideY * share};
    }
};

/// The scale of an end by the areas of the last contour and of the one before it: the area goes on to change as it did
/// between them, but does not grow. 0 for what would be very small.
double scaleOfEnd(double area, double areaBefore, double gapBefore, double rise);

/// How far aside of its contour an end lies: it goes on the way from the contour before, as far as it rises, so that
/// slanted tubes end slanted. No farther than the contour's mean radius.
PlanePoint asideOfEnd(const PlanePoint& centroid, const PlanePoint& centroidBefore, double gapBefore, double rise,
                      double meanRadius);

/// Closes walls of triangles, whose first so many vertices are their first contour and whose last so many their last
/// one, each at one height. An end goes on to a smaller copy of its contour with a lid on it, or to a tip, or, where
/// the contour is not seen as a whole from its middle, bluntly; it stays open where there is no shape. What is closed
/// at both ends faces outward. The vertices of the ends come behind those of the walls. The result has normals.
///
/// A lid has no vertices of its own; it is cut from the contour ear by ear (lidOf). Walls without triangles are one
/// contour, from which both ends start. Instantiated for float, double and long double.
template <class T>
TriMesh<T> closeEnds(const TriMesh<T>& walls, int firstSize, int lastSize, std::optional<EndShape<T>> begin,
                     std::optional<EndShape<T>> end);

} // namespace vorlen
