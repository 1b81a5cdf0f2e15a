#pragma once

#include <algorithm>

namespace vorlen {

/// Of n vertices, at least one, of the plane, in whatever way they are held: at(i, axis) gives x for axis 0, y for 1.
namespace lineshape {

/// True when the area within the closed line of at least three vertices is negative: a sum around the first vertex, in
/// long double.
template <class At>
bool isClockwise(int n, At&& at) {
    const long double x0 = at(0, 0), y0 = at(0, 1);
    long double area = 0;
    long double dx = at(1, 0) - x0, dy = at(1, 1) - y0;
    for (int i = 2; i < n; ++i) {
        const long double nextX = at(i, 0) - x0, nextY = at(i, 1) - y0;
        area += dx * nextY - nextX * dy;
        dx = nextX;
        dy = nextY;
    }
    return area < 0;
}

/// From the segment between two vertices. Differences and products of coordinates are exact for all whole pixel
/// coordinates below 2^26, and do not overflow for any that a file may hold.
inline double squaredDistance(double ax, double ay, double bx, double by, double px, double py) {
    const double dx = bx - ax, dy = by - ay, qx = px - ax, qy = py - ay;
    const double squaredLength = dx * dx + dy * dy;
    const double share = squaredLength > 0 ? std::clamp((dx * qx + dy * qy) / squaredLength, 0., 1.) : 0;
    const double x = qx - share * dx, y = qy - share * dy;
    return x * x + y * y;
}

/// The least (0) and greatest (1) x and y.
template <class T, class At>
void findBounds(int n, At&& at, T (&x)[2], T (&y)[2]) {
    x[0] = x[1] = at(0, 0);
    y[0] = y[1] = at(0, 1);
    for (int i = 1; i < n; ++i) {
        x[0] = std::min(x[0], at(i, 0));
        x[1] = std::max(x[1], at(i, 0));
        y[0] = std::min(y[0], at(i, 1));
        y[1] = std::max(y[1], at(i, 1));
    }
}

} // namespace lineshape

} // namespace vorlen
