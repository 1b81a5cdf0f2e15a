#pragma once

#include <cstddef>
#include <vector>

#include "shapes/vertices.h"

namespace vorlen {

/// What closed outlines on a section enclose together: the even-odd region of their plane.
///
/// A point belongs to it when a ray from there crosses the outlines an odd number of times, so that an outline within
/// another one is a hole, and one within that hole an island. Direction and order of the outlines mean nothing; they
/// may touch, overlap and cross themselves and each other.
class SectionRegion {
public:
    /// A point of the plane.
    struct Point {
        double x, y;
    };

    /// Adds an outline by the first two coordinates of its vertices, the last of which joins the first. Fewer than
    /// three vertices enclose nothing. Instantiated for int, float, double and long double. Throws SizeError when there
    /// are no two coordinates.
    template <class T>
    void add(const Vertices<T>& outline);

    /// Adds an outline of n points, pointAt(k) being number k.
    template <class PointAt>
    void add(std::size_t n, const PointAt& pointAt) {
        if (n < 3)
            return;
        Point a = pointAt(n - 1);
        for (std::size_t k = 0; k < n; ++k) {
            const Point b = pointAt(k);
            addEdge(a, b);
            a = b;
        }
    }

    void clear() { __edges.clear(); }

    /// In squared coordinate units, exact but for rounding. A sweep over the heights of vertices and crossings, in
    /// which each height costs as much as there are edges across it.
    double area() const;

private:
    /// Not horizontal; the first end is the lower one.
    struct Edge {
        double x1, y1, x2, y2;
    };

    void addEdge(const Point& a, const Point& b) {
        if (a.y < b.y)
            __edges.push_back({a.x, a.y, b.x, b.y});
        else if (b.y < a.y)
            __edges.push_back({b.x, b.y, a.x, a.y});
    }

    std::vector<Edge> __edges;
};

} // namespace vorlen
