#pragma once

#include "numerics/vector.h"
#include "shapes/shapearithmetic.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorlen {

/// Predicates on segments and triangles given by the raw coordinates of their ends.
///
/// Edge<T>, Triangle<T> and the triangle meshes all decide by these functions, so that a mesh of a million triangles
/// gives the answers of its single triangles without making an object for each of them.
namespace TriangleGeometry {

template <class T>
using Wide = WideCoordinate<T>;

/// A triangle of space 3 made ready for tests.
template <class T>
struct Facet {
    T corner[3][3];
    /// Of norm 1; null for a triangle of zero area.
    T normal[3];
    /// normal . corner[0]
    T offset;
    /// Largest coordinate of the corners by absolute value.
    T extent;
    /// The two coordinates that stay when the triangle is projected along the axis closest to its normal.
    int axis1;
    int axis2;
};

template <class T>
T dot(const T* a, const T* b) {
    T sum = 0;
    for (int k = 0; k < 3; k++)
        sum += a[k] * b[k];
    return sum;
}

/// (b - a) x (c - b)
template <class T>
void normal(const T* a, const T* b, const T* c, T* out) {
    const T u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
    const T v[3] = {c[0] - b[0], c[1] - b[1], c[2] - b[2]};
    out[0] = u[1] * v[2] - u[2] * v[1];
    out[1] = u[2] * v[0] - u[0] * v[2];
    out[2] = u[0] * v[1] - u[1] * v[0];
}

template <class T>
void normalize(T* v) {
    const T norm = std::sqrt(dot(v, v));
    if (norm > 0)
        for (int k = 0; k < 3; k++)
            v[k] /= norm;
}

template <class T>
void projectionAxes(const T* normal, int& axis1, int& axis2) {
    int axis = 0;
    for (int k = 1; k < 3; k++)
        if (std::abs(normal[k]) > std::abs(normal[axis]))
            axis = k;
    axis1 = axis == 0 ? 1 : 0;
    axis2 = axis == 2 ? 1 : 2;
}

/// unitNormal may be null: the normal is then computed.
template <class T>
Facet<T> makeFacet(const T* a, const T* b, const T* c, const T* unitNormal) {
    Facet<T> facet;
    for (int k = 0; k < 3; k++) {
        facet.corner[0][k] = a[k];
        facet.corner[1][k] = b[k];
        facet.corner[2][k] = c[k];
    }
    if (unitNormal) {
        for (int k = 0; k < 3; k++)
            facet.normal[k] = unitNormal[k];
    } else {
        normal(a, b, c, facet.normal);
        normalize(facet.normal);
    }
    facet.offset = dot(facet.normal, facet.corner[0]);
    facet.extent = 0;
    for (int k = 0; k < 3; k++)
        facet.extent = std::max({facet.extent, std::abs(a[k]), std::abs(b[k]), std::abs(c[k])});
    projectionAxes(facet.normal, facet.axis1, facet.axis2);
    return facet;
}

template <class T>
bool isDegenerate(const Facet<T>& facet) {
    return facet.normal[0] == 0 && facet.normal[1] == 0 && facet.normal[2] == 0;
}

/// Whether segments 1-2 and 3-4 of the plane cross, or with line segment 1-2 and the line through 3 and 4. Then
/// position, if given, is that of the crossing along 1-2, from 0 to 1. Parallel segments never cross.
template <class W>
bool segmentsCross(W x1, W y1, W x2, W y2, W x3, W y3, W x4, W y4, bool line, W* position) {
    const W ax = x1 - x2, ay = y1 - y2;
    const W bx = x3 - x4, by = y3 - y4;
    const W cx = x3 - x1, cy = y1 - y3;
    const W den = ay * bx - ax * by;
    if (den == 0)
        return false;
    const W s = by * cx + bx * cy;
    const W u = cy * ax + cx * ay;
    const bool crosses = den > 0 ? (s >= 0 && s <= den && (line || (u >= 0 && u <= den)))
                                 : (s <= 0 && s >= den && (line || (u <= 0 && u >= den)));
    if (crosses && position)
        *position = s / den;
    return crosses;
}

/// Whether the projected triangle contains the projected point: its first corner does, and of the points on a side
/// those that the crossing rule of Curve<T>::contains() counts in.
template <class T>
bool projectionContains(const Facet<T>& facet, const T* p) {
    const int i = facet.axis1, j = facet.axis2;
    bool inside = false;
    for (int k = 0; k < 3; k++) {
        const T* a = facet.corner[k];
        const T* b = facet.corner[k == 2 ? 0 : k + 1];
        if (a[i] == p[i] && a[j] == p[j])
            return true;
        const T s = (a[j] - p[j]) * (b[i] - p[i]) - (a[i] - p[i]) * (b[j] - p[j]);
        if (b[j] <= p[j] && p[j] < a[j])
            inside ^= s >= 0;
        else if (a[j] <= p[j] && p[j] < b[j])
            inside ^= s <= 0;
    }
    return inside;
}

/// Whether the extents of the triangle overlap the box between two corners along all axes, ends included.
template <class T>
bool touches(const Facet<T>& facet, const T* lower, const T* upper) {
    for (int k = 0; k < 3; k++) {
        const T x = facet.corner[0][k], y = facet.corner[1][k], z = facet.corner[2][k];
        if ((x > upper[k] && y > upper[k] && z > upper[k]) || (x < lower[k] && y < lower[k] && z < lower[k]))
            return false;
    }
    return true;
}

/// How near a point counts as on the triangle: the precision of the type at the coordinates of both, so that the unit
/// of length means nothing.
template <class T>
T tolerance(const Facet<T>& facet, const T* p) {
    return Vector<T>::epsilon() * std::max({facet.extent, std::abs(p[0]), std::abs(p[1]), std::abs(p[2])});
}

/// Triangle<T>::contains(); false for a triangle of zero area.
template <class T>
bool contains(const Facet<T>& facet, const T* p) {
    T distance = 0;
    for (int k = 0; k < 3; k++)
        distance += (facet.corner[0][k] - p[k]) * facet.normal[k];
    return std::abs(distance) <= tolerance(facet, p) && !isDegenerate(facet) && projectionContains(facet, p);
}

/// Edge<T>::intersects() from a to b, in any dimension of space.
template <class T>
int cutByPlane(const T* a, const T* b, const T* n, T d, int space, T* out) {
    T s0 = 0, s1 = 0;
    for (int k = 0; k < space; k++) {
        s0 += n[k] * a[k];
        s1 += n[k] * b[k];
    }
    if (s0 == s1) {
        if (s0 != d)
            return 0;
        for (int k = 0; k < space; k++)
            out[k] = a[k];
        return 2;
    }
    const T t = (d - s0) / (s1 - s0);
    if (!(t >= 0 && t <= 1))
        return 0;
    for (int k = 0; k < space; k++)
        out[k] = t == 1 ? b[k] : a[k] + t * (b[k] - a[k]);
    return 1;
}

/// Whether p, in the plane of the triangle, lies on one of its sides or corners as far as the type can tell.
///
/// projectionContains() counts such a point for one of two triangles that lie beside each other in the projection, and
/// may count it for both or for neither of two that meet at an angle. slack is how far rounding may have moved p.
template <class T>
bool onSide(const Facet<T>& facet, const T* p, T slack = 0) {
    const T least = std::max(2 * tolerance(facet, p), slack);
    for (int k = 0; k < 3; k++) {
        const T* a = facet.corner[k];
        const T* b = facet.corner[k == 2 ? 0 : k + 1];
        const T u[3] = {p[0] - b[0], p[1] - b[1], p[2] - b[2]};
        const T v[3] = {p[0] - a[0], p[1] - a[1], p[2] - a[2]};
        const T product[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
        const T side[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
        const T near = least * std::sqrt(dot(side, side));
        // Near the line of the side, and between its ends: the directions to these do not agree.
        if (dot(product, product) <= near * near && dot(u, v) <= near)
            return true;
    }
    return false;
}

/// Whether p counts as on the surface that the triangle belongs to: it lies in the triangle, sides and corners
/// included.
template <class T>
bool isOn(const Facet<T>& facet, const T* p) {
    T distance = 0;
    for (int k = 0; k < 3; k++)
        distance += (facet.corner[0][k] - p[k]) * facet.normal[k];
    return std::abs(distance) <= tolerance(facet, p) && !isDegenerate(facet) &&
           (projectionContains(facet, p) || onSide(facet, p));
}

/// How far rounding may move the point where the segment from a to b meets the triangle's plane.
template <class T>
T roundingOfCut(const Facet<T>& facet, const T* a, const T* b) {
    T largest = 0;
    for (int k = 0; k < 3; k++) {
        largest = std::max({largest, std::abs(a[k]), std::abs(b[k]), std::abs(facet.corner[0][k]),
                            std::abs(facet.corner[1][k]), std::abs(facet.corner[2][k])});
    }
    return 16 * std::numeric_limits<T>::epsilon() * largest;
}

/// Triangle<T>::intersects() with the segment from a to b; 0 for a triangle of zero area.
template <class T>
int intersects(const Facet<T>& facet, const T* a, const T* b, T* out) {
    if (isDegenerate(facet))
        return 0;
    const int cut = cutByPlane(a, b, facet.normal, facet.offset, 3, out);
    if (cut == 0)
        return 0;
    if (cut == 2) {
        using W = Wide<T>;
        const int i = facet.axis1, j = facet.axis2;
        for (int k = 0; k < 3; k++) {
            const T* c = facet.corner[k];
            const T* d = facet.corner[k == 2 ? 0 : k + 1];
            if (segmentsCross<W>(c[i], c[j], d[i], d[j], a[i], a[j], b[i], b[j], false, nullptr))
                return 2;
        }
        return 0;
    }
    return onSide(facet, out, roundingOfCut(facet, a, b)) ? 2 : projectionContains(facet, out) ? 1 : 0;
}

/// Position from 0 to 1, along the segment from a to b, of its point closest to p; 0 for a segment of length zero.
template <class T>
Wide<T> closestPosition(const T* a, const T* b, const T* p, int space) {
    using W = Wide<T>;
    W along = 0, length = 0;
    for (int k = 0; k < space; k++) {
        const W e = W(b[k]) - W(a[k]);
        along += (W(p[k]) - W(a[k])) * e;
        length += e * e;
    }
    return !(along > 0) || !(length > 0) ? W(0) : along >= length ? W(1) : along / length;
}

/// Squared distance from p to the triangle; s and t give its closest point a + s (b - a) + t (c - a).
template <class T>
Wide<T> closestParameters(const T* a, const T* b, const T* c, const T* p, int space, Wide<T>& s, Wide<T>& t) {
    using W = Wide<T>;
    W a00 = 0, a01 = 0, a11 = 0, b0 = 0, b1 = 0;
    for (int k = 0; k < space; k++) {
        const W e0 = W(b[k]) - W(a[k]), e1 = W(c[k]) - W(a[k]), d = W(a[k]) - W(p[k]);
        a00 += e0 * e0;
        a01 += e0 * e1;
        a11 += e1 * e1;
        b0 += e0 * d;
        b1 += e1 * d;
    }
    const auto squaredDistance = [&](W u, W v) {
        W sum = 0;
        for (int k = 0; k < space; k++) {
            const W d = W(a[k]) - W(p[k]) + u * (W(b[k]) - W(a[k])) + v * (W(c[k]) - W(a[k]));
            sum += d * d;
        }
        return sum;
    };

    const W det = a00 * a11 - a01 * a01;
    s = a01 * b1 - a11 * b0;
    t = a01 * b0 - a00 * b1;
    // Sides that can hold the optimum: a triangle as flat as rounding lets one see is taken as its three sides.
    const bool flat = !(det > Vector<W>::epsilon() * a00 * a11);
    const bool side0 = flat || t < 0;       // from a to b
    const bool side1 = flat || s < 0;       // from a to c
    const bool side2 = flat || s + t > det; // from b to c
    if (!side0 && !side1 && !side2) {
        s /= det;
        t /= det;
        return squaredDistance(s, t);
    }
    W best = -1;
    const auto tryPoint = [&](W u, W v) {
        const W distance = squaredDistance(u, v);
        if (best < 0 || distance < best) {
            best = distance;
            s = u;
            t = v;
        }
    };
    if (side0)
        tryPoint(closestPosition(a, b, p, space), W(0));
    if (side1)
        tryPoint(W(0), closestPosition(a, c, p, space));
    if (side2) {
        const W position = closestPosition(b, c, p, space);
        tryPoint(1 - position, position);
    }
    return best;
}

} // namespace TriangleGeometry

} // namespace vorlen
