#pragma once

#include "shapes/shape.h"
#include "shapes/vertices.h"

#include <cstddef>
#include <vector>

namespace vorlen {

/// Tree of the vertices of a shape that finds those nearest to a point.
///
/// build() halves the vertices at the median of the axis along which they extend most until a few are left, a leaf.
/// The shape of the tree follows from the number of vertices alone, so that a node is only an axis and the two ends of
/// the gap between its halves; coordinates are copied in the order of the leaves. Building takes O(n log n), a query
/// O(log n) for well spread points, and memory is the coordinates and an int for each vertex. Queries compare squared
/// distances, never a root. Source: J. H. Friedman, J. L. Bentley, R. A. Finkel, An algorithm for finding best matches
/// in logarithmic expected time, 1977; S. Arya, D. M. Mount, Algorithms for fast vector quantization, 1993, for the
/// distance to a cell.
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
    /// The two halves along the axis: the first ends at low, the second begins at high.
    struct Node {
        T low;
        T high;
        int axis;
    };

    template <int Space>
    void __buildTree();
    template <class Item>
    void __split(std::size_t node, Item* items, int count, int space);
    template <int Space, class Collector>
    void __search(Collector& collector, const Vector<T>& point) const;
    template <class Collector>
    void __search(Collector& collector, const Vector<T>& point) const;
    void __checkQuery(const Vector<T>& point, const char* where) const;

    Shape<T>* __shape = nullptr;
    /// Client of the shape's server; after build() its indexes stand in the order of the leaves.
    Vertices<T> __vertices;
    VertexServer<T>* __server = nullptr;
    int __space = 0;
    /// Children of node n are 2n + 1 and 2n + 2.
    std::vector<Node> __nodes;
    /// Coordinates of the vertices, in the order of the leaves.
    std::vector<T> __points;
    std::vector<T> __lower;
    std::vector<T> __upper;
    bool __built = false;
};

} // namespace vorlen
