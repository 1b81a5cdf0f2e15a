#pragma once

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
    /// Adds an outline by the first two coordinates of its vertices, the last of which joins the first. Fewer than
    /// three vertices enclose nothing. Instantiated for int, float, double and long double. Throws SizeError when there
    /// are no two coordinates.
    template <class T>
    void add(const Vertices<T>& outline);

    void clear() { __edges.clear(); }

    /// In squared coordinate units, exact but for rounding. A sweep over the heights of vertices and crossings, in
    /// which each height costs as much as there are edges across it.
    double area() const;

private:
    /// Not horizontal; the first end is the lower one.
    struct Edge {
        double x1, y1, x2, y2;
    };

    std::vector<Edge> __edges;
};

} // namespace vorlen
