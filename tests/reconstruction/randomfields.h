#pragma once

#include <array>
#include <cmath>
#include <limits>
#include <random>

namespace vorlen {

/// Ways to choose field values, most of which make ambiguous faces and interiors frequent. Level 0.
enum class FieldKind {
    Uniform,      ///< anywhere from -1 to 1
    Few,          ///< whole numbers from -2 to 2: many ties, many values on the level
    Checkerboard, ///< signs by turns, but for a few, and magnitudes of several orders
    Diagonal,     ///< as Checkerboard, with most values on one side
    TiedBoard,    ///< signs by turns, magnitudes 0, 1 and 2
    Tiny,         ///< signs by turns, magnitudes on both sides of what the face test takes for no difference
    Broken,       ///< as Checkerboard, with infinities and values that are not numbers
};
constexpr int numFieldKinds = 7;

/// Value at a position whose coordinates have an even or odd sum.
inline double randomValue(std::mt19937& random, FieldKind kind, bool even) {
    const auto unit = [&random] { return double(random() >> 8) / double(1 << 24); };
    const auto magnitude = [&] { return std::pow(10.0, 2 * unit() - 1); };
    if (random() % 8 == 0)
        even = !even;
    const double sign = even ? 1 : -1;
    switch (kind) {
    case FieldKind::Uniform:
        return 2 * unit() - 1;
    case FieldKind::Few:
        return int(random() % 5) - 2;
    case FieldKind::Checkerboard:
        return sign * magnitude();
    case FieldKind::Diagonal:
        return random() % 4 == 0 ? 5 * magnitude() : -magnitude();
    case FieldKind::TiedBoard:
        return sign * int(random() % 3);
    case FieldKind::Tiny:
        return sign * std::array<double, 4>{1e-5, 1e-4, 3e-4, 1}[random() % 4] * (1 + double(random() % 3));
    default:
        break;
    }
    switch (random() % 12) {
    case 0:
        return std::numeric_limits<double>::quiet_NaN();
    case 1:
        return sign * std::numeric_limits<double>::infinity();
    case 2:
        return sign * std::numeric_limits<float>::max();
    default:
        return sign * magnitude();
    }
}

/// A cube's eight values in the order of its corners.
inline void randomField(std::mt19937& random, FieldKind kind, double* values) {
    static constexpr bool even[8] = {true, false, true, false, false, true, false, true};
    for (int c = 0; c < 8; ++c)
        values[c] = randomValue(random, kind, even[c]);
}

} // namespace vorlen
