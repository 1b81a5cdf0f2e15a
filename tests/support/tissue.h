#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "registration/sectionaligner.h"

namespace vorlen {

/// A value from 0 to 1 for a point of a lattice.
inline double latticeValue(int i, int j, int seed) {
    std::uint32_t x = std::uint32_t(i) * 73856093U ^ std::uint32_t(j) * 19349663U ^ std::uint32_t(seed) * 83492791U;
    x ^= x >> 16;
    x *= 0x7feb352dU;
    x ^= x >> 15;
    x *= 0x846ca68bU;
    x ^= x >> 16;
    return double(x >> 8) / 16777216.0;
}

/// Smooth noise from 0 to 1 with features of the size of one.
inline double smoothNoise(double x, double y, int seed) {
    const int i = int(std::floor(x)), j = int(std::floor(y));
    const auto ease = [](double t) { return t * t * t * (t * (6 * t - 15) + 10); };
    const double u = ease(x - i), v = ease(y - j);
    return (1 - v) * ((1 - u) * latticeValue(i, j, seed) + u * latticeValue(i + 1, j, seed)) +
           v * ((1 - u) * latticeValue(i, j + 1, seed) + u * latticeValue(i + 1, j + 1, seed));
}

/// What tissue looks like at a place, as a grey from 0 to 255, with features of 40, 18 and 8 units. Other seeds are
/// other tissue.
inline double tissue(double x, double y, int seed = 1) {
    return 255 * std::clamp(0.5 + 1.1 * (smoothNoise(x / 40, y / 40, seed) - 0.5) +
                                0.9 * (smoothNoise(x / 18, y / 18, seed + 50) - 0.5) +
                                0.5 * (smoothNoise(x / 8, y / 8, seed + 90) - 0.5),
                            0.0, 1.0);
}

/// The section that shows the tissue after the motion has brought it onto the tissue itself: the position p of the
/// image, seen from its middle, shows what lies at motion(p).
inline SectionImage sectionOfTissue(int rows, int columns, const RigidMotion& motion, int seed = 1,
                                    double pixelWidth = 1, double pixelHeight = 1) {
    SectionImage section{PixelMatrix<float>(rows, columns), pixelWidth, pixelHeight};
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j) {
            const PlanePoint place = motion.apply({pixelWidth * (j - 0.5 * columns), pixelHeight * (i - 0.5 * rows)});
            section.grey[i][j] = float(tissue(place.x, place.y, seed));
        }
    return section;
}

} // namespace vorlen
