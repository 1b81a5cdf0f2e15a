#pragma once

#include <array>
#include <cstddef>
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
///
/// The least distance of two meshes goes down both trees at once and leaves out pairs of boxes that are farther apart
/// than what has been found.
class MeshDistance {
public:
    using Point = std::array<double, 3>;
    using Triangle = std::array<Point, 3>;

    /// The point of the mesh that is closest to a place, how far it is, and the triangle that it lies in.
    struct Closest {
        double distance = 0;
        Point point = {};
        int triangle = -1;
    };

    /// Throws SizeError unless the mesh is of space 3, UsageError when it has no triangles, RangeError when one names a
    /// vertex that is not there.
    template <class T>
    explicit MeshDistance(const TriMesh<T>& mesh);

    Closest closest(const Point& place) const;

    /// Least distance between a point of this mesh and one of the other; 0 where they touch or cross.
    double least(const MeshDistance& other) const;

    /// Distance of a place from one triangle.
    double distanceTo(int triangle, const Point& place) const;

    int getNumTriangles() const { return int(__triangles.size()); }

    /// The corners of a triangle; in the order of the tree, not of the mesh.
    const Triangle& getTriangle(int triangle) const { return __triangles[std::size_t(triangle)]; }

private:
    /// An inner node's children are its next one and second; a leaf has triangles from first to last.
    struct Node {
        Point lower, upper;
        int first = 0, last = 0, second = -1;
    };

    int build(int first, int last);
    static double squaredBetween(const Node& a, const Node& b);
    void leastInLeaves(const Node& node, const MeshDistance& other, const Node& otherNode, double& best) const;

    std::vector<Triangle> __triangles;
    std::vector<Node> __nodes;
};

} // namespace vorlen
