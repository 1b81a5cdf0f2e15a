#pragma once

#include <array>
#include <optional>
#include <vector>

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

/// Distance from a height to the next section in a direction, or, where there is none, in the other one. 0 when all
/// lie at this height.
template <class T>
T gapFrom(T height, T direction, const std::vector<T>& sections);

/// How a surface ends beyond a contour, in a direction of heights, with so much of a gap to the next section; nothing
/// where it stays open. The points of the contour and of the one before it, which is so far away and may be missing,
/// are relative to the same place. Instantiated for float, double and long double.
template <class T>
std::optional<EndShape<T>> shapeOfEnd(SurfaceEnd end, T gap, T direction, const std::vector<PlanePoint>& here,
                                      const std::vector<PlanePoint>& before, double gapBefore);

/// The end of a surface at a contour: what closeEnds() adds there.
template <class T>
struct EndPiece {
    std::vector<std::array<T, 3>> vertices;
    std::vector<std::array<int, 3>> faces; ///< the contour's vertices are numbered from 0 on, these ones behind them

    /// An end of three vertices or more, whose points are given relative to the first one, which is at origin. Walls
    /// run forward where they have a triangle along the edge from the first vertex to the second. Fewer than three
    /// make no end: two edges on each other are closed by each other.
    static EndPiece of(const std::vector<PlanePoint>& points, const std::array<T, 3>& origin, const EndShape<T>& wanted,
                       bool wallsRunForward);
};

/// Closes walls of triangles, whose first so many vertices are their first contour and whose last so many their last
/// one, each at one height. An end goes on to a smaller copy of its contour with a lid on it, or to a tip, or, where
/// the contour is not seen as a whole from its middle, bluntly; it stays open where there is no shape. What is closed
/// at both ends faces outward. The vertices of the ends come behind those of the walls, which must not
/// share them with another mesh. The result has normals.
///
/// A lid has no vertices of its own; it is cut from the contour ear by ear (lidOf). Walls without triangles are one
/// contour, from which both ends start. Instantiated for float, double and long double.
template <class T>
void closeEnds(TriMesh<T>& walls, int firstSize, int lastSize, std::optional<EndShape<T>> begin,
               std::optional<EndShape<T>> end);

} // namespace vorlen
