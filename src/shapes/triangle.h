#pragma once

#include "shapes/curve.h"

namespace vorlen {

template <class T>
class Edge;

/// Triangle in space: a closed curve of exactly three vertices T0, T1, T2.
///
/// Tests on points of its plane are made in projection, along the axis that is closest to the normal. Instantiated for
/// int, float, double and long double; operations that divide or take roots are not available for int.
///
/// A triangle of zero area has a null normal. It contains no point but is still measured by closestPoint() as the
/// segment or point that it is.
template <class T>
class Triangle : public Curve<T> {
public:
    Triangle();
    /// Triangle with a server of its own that holds three vertices of the given dimension, at the origin.
    explicit Triangle(int space);
    /// Triangle on positions i, j and k of the given vertices, on their server.
    Triangle(const Vertices<T>& vertices, int i, int j, int k);
    Triangle(const Triangle& triangle);
    ~Triangle() override;

    using Curve<T>::operator=;
    Triangle& operator=(const Triangle& triangle);
    Triangle* clone() const override;

    /// (T1 - T0) x (T2 - T1), of norm 1 when asked for. Throws SizeError unless the space is 3.
    Vector<T> normal(bool normalize) const;

    /// Whether p lies in the triangle: in its plane to within Vector<T>::epsilon() times the largest coordinate, and
    /// inside its sides. The normal is of norm 1; the second form computes it.
    bool contains(const Vector<T>& p, const Vector<T>& normal) const;
    bool contains(const Vector<T>& p) const;

    /// Intersection with an edge: 0 for none, 1 for one point inside the triangle, stored in out, 2 when the answer is
    /// in doubt: the point lies on a side or corner, or the edge lies in the triangle's plane and crosses a side.
    int intersects(const Edge<T>& edge, Vector<T>& out, const Vector<T>& normal) const;
    int intersects(const Edge<T>& edge, Vector<T>& out) const;

    /// Point of the triangle closest to p; the result is its distance to p. Any dimension of space.
    /// Throws SizeError when dimensions differ and UsageError for int.
    ///
    /// The squared distance is minimised over the plane of the triangle; the place of the optimum among the seven
    /// regions cut out by the lines of the sides tells which sides can hold the constrained one. Source: D. Eberly,
    /// Distance Between Point and Triangle in 3D, 1999.
    T closestPoint(const Vector<T>& p, Vector<T>& out) const;

private:
    void __checkPoint(const Vector<T>& p, const char* where) const;
};

} // namespace vorlen
