#pragma once

#include <optional>

#include "shapes/trimesh.h"

namespace vorlen {

/// How a surface ends beyond its first or last contour.
enum class SurfaceEnd {
    Open,        ///< at the contour, as the contours were drawn
    Flat,        ///< by a lid on the contour
    HalfSection, ///< in a tip half way to the next section
    NextSection  ///< in a tip on the next section
};

/// Both ends of a surface.
struct SurfaceEnds {
    SurfaceEnd begin = SurfaceEnd::HalfSection;
    SurfaceEnd end = SurfaceEnd::HalfSection;
};

/// Closes walls of triangles, whose first so many vertices are their first contour and whose last so many their last
/// one, each at one height. An end is closed by a tip at so much above its contour's centroid, or by a lid where this
/// is 0 and where the centroid does not see all of the contour; it stays open where there is no number. What is closed
/// at both ends faces outward. The result has a vertex more for each tip, behind those of the walls, and normals.
///
/// A lid has no vertices of its own; it is cut from the contour ear by ear, in quadratic time at most. Walls without
/// triangles are one contour, from which both ends start. Instantiated for float, double and long double.
template <class T>
TriMesh<T> closeEnds(const TriMesh<T>& walls, int firstSize, int lastSize, std::optional<T> beginRise,
                     std::optional<T> endRise);

} // namespace vorlen
