#pragma once

#include "shapes/boundingbox.h"
#include "shapes/trianglegeometry.h"

#include <cstddef>
#include <vector>

namespace vorlen {

template <class T>
class TriMesh;

/// The inside of a closed triangle mesh, prepared for many questions: answers as TriMesh<T>::contains() does.
///
/// The triangles are copied and put in a tree of boxes, halved by number along the longest axis down to leaves of a few
/// triangles; a ray then looks at the triangles on its way only. Building takes O(n log n) for n triangles, a question
/// about O(sqrt n) at most and O(log n) as a rule. The mesh is not needed any more after construction, and changes of
/// it are not followed. Instantiated for float, double and long double.
template <class T>
class TriMeshInterior {
public:
    /// Throws SizeError unless the space of the mesh is 3.
    explicit TriMeshInterior(const TriMesh<T>& mesh);

    /// Whether p lies inside the mesh or on its surface. Throws SizeError unless p has three coordinates.
    bool contains(const Vector<T>& p) const;

private:
    struct Box {
        T lower[3];
        T upper[3];
    };

    Box __fill(std::size_t node, int first, int count, std::vector<int>& order, const std::vector<T>& centers);
    /// Calls visit(facet) for the triangles of all leaves whose boxes, and the boxes around them, pass enter(box);
    /// stops when it returns false.
    template <class Enter, class Visit>
    bool __walk(std::size_t node, int first, int count, const Enter& enter, const Visit& visit) const;
    bool __onSurface(const T* p) const;
    int __countCrossings(const T* p, const T* q, bool countDoubtful) const;

    std::vector<TriangleGeometry::Facet<T>> __facets;
    /// Children of node n are 2n + 1 and 2n + 2; the boxes are a little wider than what they hold.
    std::vector<Box> __boxes;
    BoundingBox<T> __boundingBox;
};

} // namespace vorlen
