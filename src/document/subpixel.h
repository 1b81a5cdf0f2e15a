#pragma once

#include <cmath>

namespace vorlen {

/// A coordinate of a vertex that a program has computed, in pixels, to the nearest thousandth: far finer than any image
/// tells, and short where it is written. Whole numbers stay what they are.
inline double subpixel(double coordinate) {
    constexpr double parts = 1000;
    return std::round(coordinate * parts) / parts;
}

} // namespace vorlen
