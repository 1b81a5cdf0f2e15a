#pragma once

#include <vector>

#include "shapes/vertices.h"

namespace vorlen {

/// Contour: an ordered list of vertices, open (polyline) or closed (polygon; the last vertex joins the first).
///
/// Its edges are (0, 1), (1, 2), ... and for a closed curve (n - 1, 0), ranked in this order; a curve of fewer than two
/// vertices has none. Planar operations take the two axes (i, j) of their plane. Searches for crossing edges descend
/// trees of the bounding boxes of runs of edges, so that they do not compare all pairs.
template <class T>
class Curve : public Vertices<T> {
public:
    /// Walks the edges of a curve in the order of their ranks.
    class __ConcreteEdgeIterator : public ConcreteEdgeIterator<T> {
    public:
        explicit __ConcreteEdgeIterator(const Curve<T>& curve);
        ~__ConcreteEdgeIterator() override;
        Edge<T>* current() const override;
        void operator++(int) override;
        void rewind() override;

        /// Rank of the present edge.
        int getIndex() const { return __index; }

        bool operator==(const __ConcreteEdgeIterator& other) const;
        bool operator!=(const __ConcreteEdgeIterator& other) const;
        bool isPrevious(const __ConcreteEdgeIterator& other) const;
        bool isNext(const __ConcreteEdgeIterator& other) const;
        bool isAdjacent(const __ConcreteEdgeIterator& other) const;

    private:
        void setEdge(int first, int second);

        int __index = 0;
        const Curve<T>* __curve;
        bool __closing = false;
        bool __atEnd = true;
    };

    Curve() = default;
    Curve(int space, int size, int capacity, int growth, bool open);
    /// Shares the server of the vertices.
    Curve(const Vertices<T>& vertices, bool open);
    Curve(const Curve& other);
    /// Loads a curve file. Throws FileReadError, FileFormatError.
    explicit Curve(const std::string& filename);
    ~Curve() override;

    using Vertices<T>::operator=;
    Curve& operator=(const Curve& other);

    /// Takes over another Curve, its closure too; another client raises std::bad_cast.
    void assign(const VertexClient<T>& other) override;

    Curve* clone() const override;
    ShapeType getShapeType() const override;
    ShapeType read(std::istream& stream) override;

    std::unique_ptr<ConcreteEdgeIterator<T>> edgeIterator() override;
    std::unique_ptr<ConcreteEdgeIterator<T>> edgeIterator() const override;

    void setOpen(bool open) { __open = open; }
    bool isOpen() const { return __open; }
    bool isClosed() const { return !__open; }

    /// Number of edges.
    int getNumEdges() const;

    /// Sum of the edge lengths, the closing edge included; rounded for int.
    T length() const;

    /// Shoelace sum, twice the signed area in the plane of axes i and j, in squared coordinate units. Positive for
    /// counter-clockwise order; 0 for open curves and for fewer than 3 vertices.
    T twiceArea(int i, int j) const;

    bool isClockwise(int i, int j) const;

    /// Reverses the order of the vertices where it is not the wanted one; does nothing on an area of 0.
    void setClockwise(bool clockwise, int i, int j);

    /// Squared distance of each vertex to the centre of gravity. Throws SizeError on an empty curve.
    Vector<T> signature() const;

    /// Point of the curve closest to p; the first of several at equal distance. Leaves out unchanged on a curve without
    /// edges. Throws SizeError when dimensions differ.
    void closestPoint(const Vector<T>& p, Vector<T>& out) const;

    /// Unit normals (-t_y, t_x), space 2, one for each vertex; t is the direction from the vertex before to the vertex
    /// behind. Null where these coincide. Throws TypeError for int.
    Vertices<T> normals(int i, int j) const;

    /// Whether edges cross, ends included; parallel edges never do.
    bool intersects(const Curve& other, int i, int j) const;

    /// Whether two edges cross that are neither the same nor adjacent.
    bool selfIntersects(int i, int j) const;

    /// Rank of the edge of this curve for each crossing with an edge of the other, ascending.
    std::vector<int> intersectionIndexes(const Curve& other, int i, int j) const;

    /// Cuts the curve at pairs of edge ranks (a0, b0), (a1, b1), ..., ascending. Curve 0 is what remains without the
    /// vertices a + 1 to b of all pairs, curve r the vertices a to b + 1 of pair r - 1. Each has a server of its own
    /// and the closure of this curve.
    /// Throws UsageError when the number of ranks is odd, they descend, or one is no edge's rank.
    std::vector<Curve> split(const std::vector<int>& indexes) const;

    /// Cuts where the other curve crosses. Throws UsageError when it crosses an odd number of times.
    std::vector<Curve> split(const Curve& other, int i, int j) const;

    /// Closed curve through both curves, joined by a bridge, walked twice, between their closest vertices. It has
    /// n + m + 2 vertices and a server of its own. Throws SizeError when one is empty.
    Curve join(const Curve& other) const;

    /// Even-odd rule in the plane; true on a vertex, false for open curves.
    bool contains(const Vector<T>& p, int i, int j) const;

    /// A curve of n vertices at even distances along this one, with the same closure.
    /// Throws SizeError on an empty curve, UsageError for closed curves of int.
    Curve resample(int n) const;

    /// The same with the number of vertices that out has. The vertices of out are written in place.
    void resample(Curve& out) const;
    void resamplePolygon(Curve& out) const;

    /// From the first vertex to the last, whatever the closure; rounded for int.
    void resamplePolyline(Curve& out) const;

    /// For each vertex the distance in the plane to the line through the segment of resampled that lies at the same
    /// length along the curve; 0 for the first. Throws UsageError for int, SizeError when resampled is empty.
    void resamplingError(const Curve& resampled, Vector<T>& errors, int i, int j) const;

private:
    bool __open = false;
};

} // namespace vorlen
