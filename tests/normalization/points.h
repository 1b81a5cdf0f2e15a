#pragma once

#include <cmath>
#include <random>

#include "numerics/matrix.h"
#include "shapes/vertices.h"

namespace vorlen {

/// size points with coordinates evenly drawn from low to high.
template <class T>
Vertices<T> randomPoints(int space, int size, double low, double high, unsigned int seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> coordinate(low, high);
    Vertices<T> points(space, size, size, size);
    for (int i = 0; i < size; ++i)
        for (int a = 0; a < space; ++a)
            points[i][a] = T(coordinate(random));
    return points;
}

/// The images of the points under a map of vectors to vectors, on a server of their own.
template <class T, class Map>
Vertices<T> imagesOf(const Vertices<T>& points, Map map) {
    const int size = points.getSize();
    Vertices<T> images(points.getSpace(), size, size, size);
    for (int i = 0; i < size; ++i)
        images[i] = map(points[i]);
    return images;
}

/// A map that shears, scales and shifts: coordinate a becomes 2 x_a + a + 1 + sum over b of x_b sin(3 a + b + 1).
template <class T>
Vector<T> affineImage(const Vector<T>& x) {
    Vector<T> y(x);
    for (int a = 0; a < x.getSize(); ++a) {
        y[a] = 2 * x[a] + T(a + 1);
        for (int b = 0; b < x.getSize(); ++b)
            y[a] += x[b] * T(std::sin(3 * a + b + 1));
    }
    return y;
}

} // namespace vorlen
