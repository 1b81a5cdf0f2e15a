#pragma once

#include <array>
#include <vector>

#include "shapes/trimesh.h"

namespace vorlen {

/// Tree of boxes over the triangles of a mesh that finds the point of the mesh closest to a place.
///
/// The triangles are halved at the median of their middles along the axis along which these extend most, until a few
/// are left; a box that lies farther away than what has been found is not entered. Building takes O(n log n), a query
/// O(log n) for places near to the mesh. The closest point of a triangle is found by the side, corner or face that the
/// place lies at (C. Ericson, Real-Time Collision Detection, 2005). Coordinates are copied. Computes in double;
/// compiled for meshes of float and double.
class MeshDistance {
public:
    using Point = std::array<double, 3>;

    /// The point of the mesh that is closest to a place, and how far it is.
    struct Closest {
        double distance = 0;
        Point point = {};
    };

    /// Throws SizeError unless the mesh is of space 3, UsageError when it has no triangles, RangeError when one names a
    /// vertex that is not there.
    template <class T>
    explicit MeshDistance(const TriMesh<T>& mesh);

    Closest closest(const Point& place) const;

    int getNumTriangles() const { return int(__triangles.size()); }

private:
    using Triangle = std::array<Point, 3>;

    /// An inner node's children are its next one and second; a leaf has triangles from first to last.
    struct Node {
        Point lower, upper;
        int first = 0, last = 0, second = -1;
    };

    int build(int first, int last);

    std::vector<Triangle> __triangles;
    std::vector<Node> __nodes;
};

} // namespace vorlen
