#pragma once

#include "shapes/nearestsearch.h"
#include "shapes/shape.h"
#include "shapes/vertices.h"

namespace vorlen {

/// The vertices of a shape in a NearestSearch, which tells how it is built and what a query costs.
///
/// A composite shape must hold all its levels on one server. The shape must outlive the tree's construction only; the
/// server is kept. Changes of the shape are seen after the next build(). Instantiated for int, float, double and long
/// double.
///
/// Decisions: of several vertices at the same distance any may be found. More neighbours asked for than there are
/// vertices gives all vertices, fewer than one gives none. A vertex with an undefined coordinate counts as infinitely
/// far.
template <class T>
class KDTree {
public:
    KDTree();
    ~KDTree();

    /// Names the shape, without building. Throws UsageError when the shape is empty or lies on several servers.
    void setShape(Shape<T>& shape);
    Shape<T>* getShape() const { return __shape; }
    /// Builds the tree; needed after setShape() and after any change of the shape. Throws UsageError without a shape
    /// and for a shape that has become empty.
    void build();

    /// Vertex nearest to the point, on the shape's server. Throws UsageError before build() and SizeError when the
    /// point has not the space's dimension.
    Vector<T>& nearestVertex(const Vector<T>& point) const;
    /// Makes out a client of the shape's server with the k vertices nearest to the point, the nearest first.
    /// Throws as nearestVertex() does.
    void nearestVertices(Vertices<T>& out, const Vector<T>& point, int k) const;

private:
    void checkQuery(const Vector<T>& point, const char* where) const;

    Shape<T>* __shape = nullptr;
    Vertices<T> __vertices; // without vertices: keeps the server
    VertexServer<T>* __server = nullptr;
    NearestSearch<T> __search;
    bool __built = false;
};

} // namespace vorlen
