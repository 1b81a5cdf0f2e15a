#pragma once

#include "shapes/curve.h"

namespace vorlen {

/// Straight segment: an open curve of exactly two vertices, with the predicates that curves and meshes are built from.
///
/// An edge made on other vertices shares their server, so that it follows them. Where a pair of axes (i, j) is given,
/// the edge is seen in the plane of these two coordinates. Instantiated for int, float, double and long double;
/// operations that divide or take roots are not available for int.
///
/// An edge of length zero acts as its first vertex.
template <class T>
class Edge : public Curve<T> {
public:
    Edge();
    /// Edge with a server of its own that holds two vertices of the given dimension, at the origin.
    explicit Edge(int space);
    /// Edge from position i to position j of the given vertices, on their server.
    Edge(const Vertices<T>& vertices, int i, int j);
    Edge(const Edge& edge);
    ~Edge() override;

    using Curve<T>::operator=;
    Edge& operator=(const Edge& edge);
    Edge* clone() const override;

    /// Point of the segment closest to p; the result is its distance to p.
    /// Throws SizeError when dimensions differ and TypeError for int.
    T closestPoint(const Vector<T>& p, Vector<T>& out) const;

    /// Whether the two segments cross in the plane of axes i and j, ends included. Parallel segments never cross,
    /// not even when one covers the other. out, if given, gets the crossing point as a vector of size 2; for int it is
    /// rounded to the nearest integers.
    bool projectionIntersects(const Edge& edge, int i, int j, Vector<T>* out = nullptr) const;

    /// The same with the other edge taken as an infinite line.
    bool projectionIntersectsLine(const Edge& edge, int i, int j, Vector<T>* out = nullptr) const;

    /// Intersection with the plane n.x = d: 0 for none, 1 for one point, stored in out, 2 when the whole edge lies in
    /// the plane and out is its first vertex. Throws SizeError when dimensions differ and UsageError for int.
    int intersects(const Vector<T>& n, T d, Vector<T>& out) const;
};

} // namespace vorlen
