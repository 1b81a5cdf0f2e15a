#pragma once

#include <algorithm>
#include <cmath>
#include <random>

#include "images/rasters/pixelmatrix.h"
#include "shapes/curve.h"

namespace vorlen {

/// Ellipse on a pixel grid; pixel centres have whole coordinates.
struct Ellipse {
    double x;
    double y;
    double radiusX;
    double radiusY;

    /// About the signed distance from the border, below 0 inside: the implicit function over its gradient.
    double distance(double px, double py) const {
        const double u = (px - x) / radiusX, v = (py - y) / radiusY;
        const double value = u * u + v * v - 1.0;
        const double slope = 2.0 * std::hypot(u / radiusX, v / radiusY);
        return slope > 0.0 ? value / slope : -std::min(radiusX, radiusY);
    }
};

/// A bright ellipse on a black ground, its border one pixel wide, with noise of the given standard deviation.
template <class T>
PixelMatrix<T> drawEllipse(int rows, int columns, const Ellipse& ellipse, double noise = 0.0) {
    std::mt19937 engine(29);
    std::normal_distribution<double> error(0.0, noise > 0.0 ? noise : 1.0);
    PixelMatrix<T> image(rows, columns);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j) {
            const double inside = std::clamp(0.5 - ellipse.distance(j, i), 0.0, 1.0);
            image[i][j] = static_cast<T>(150.0 * inside + (noise > 0.0 ? error(engine) : 0.0));
        }
    return image;
}

/// Closed curve of n vertices on an ellipse.
template <class U>
Curve<U> ellipseCurve(const Ellipse& ellipse, int n) {
    Curve<U> curve(2, n, n, n, false);
    for (int k = 0; k < n; ++k) {
        const double angle = 2.0 * 3.14159265358979323846 * k / n;
        curve[k][0] = static_cast<U>(ellipse.x + ellipse.radiusX * std::cos(angle));
        curve[k][1] = static_cast<U>(ellipse.y + ellipse.radiusY * std::sin(angle));
    }
    return curve;
}

/// Distance of vertex k from the border of the ellipse. A vertex between pixel centres stands for the pixel that it
/// falls into, since that is where the snake looks for its edge: half a pixel is taken off.
template <class U>
double distanceOf(const Curve<U>& curve, int k, const Ellipse& ellipse) {
    return std::abs(ellipse.distance(curve[k][0] - 0.5, curve[k][1] - 0.5));
}

template <class U>
double meanDistance(const Curve<U>& curve, const Ellipse& ellipse) {
    double sum = 0.0;
    for (int k = 0; k < curve.getSize(); ++k)
        sum += distanceOf(curve, k, ellipse);
    return sum / curve.getSize();
}

template <class U>
double largestDistance(const Curve<U>& curve, const Ellipse& ellipse) {
    double largest = 0.0;
    for (int k = 0; k < curve.getSize(); ++k)
        largest = std::max(largest, distanceOf(curve, k, ellipse));
    return largest;
}

} // namespace vorlen
