#pragma once

#include <initializer_list>
#include <random>
#include <vector>

#include "shapes/curve.h"
#include "shapes/curvestack.h"
#include "support/vectors.h"

namespace vorlen {

/// Vertices with the coordinates of the rows.
template <class T>
Vertices<T> verticesOf(const std::vector<std::vector<T>>& rows) {
    const int n = int(rows.size());
    Vertices<T> vertices(n == 0 ? 2 : int(rows[0].size()), n, n, n);
    for (int i = 0; i < n; ++i) {
        std::copy(rows[i].begin(), rows[i].end(), vertices[i].data());
    }
    return vertices;
}

template <class T>
Curve<T> curveOf(const std::vector<std::vector<T>>& rows, bool open = false) {
    return Curve<T>(verticesOf(rows), open);
}

/// n vertices with whole coordinates from -range to range.
template <class T>
Vertices<T> randomVertices(int space, int n, int range, unsigned int seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> coordinate(-range, range);
    Vertices<T> vertices(space, n, n, n);
    for (int i = 0; i < n; ++i) {
        for (T& x : vertices[i]) {
            x = T(coordinate(random));
        }
    }
    return vertices;
}

/// Regular polygon of n vertices around (x, y), counter-clockwise from angle phase; at height z in space 3.
template <class T>
Curve<T> polygonOf(int n, double radius, double x = 0, double y = 0, double phase = 0, int space = 2, double z = 0) {
    Curve<T> curve(space, n, n, n, false);
    for (int k = 0; k < n; ++k) {
        const double angle = phase + 6.283185307179586 * k / n;
        curve[k][0] = T(x + radius * std::cos(angle));
        curve[k][1] = T(y + radius * std::sin(angle));
        if (space > 2) {
            curve[k][2] = T(z);
        }
    }
    return curve;
}

/// The coordinates of all vertices, in order.
template <class T>
std::vector<T> coordinatesOf(const Shape<T>& shape) {
    const Vector<T> all = shape.toVector();
    return std::vector<T>(all.begin(), all.end());
}

} // namespace vorlen
