#pragma once

#include <cmath>
#include <utility>
#include <vector>

namespace vorlen {

using Points = std::vector<std::pair<int, int>>;

inline const Points square = {{50, 50}, {50, 100}, {100, 100}, {100, 50}};

/// A wavy ring, counter-clockwise on the screen.
inline Points ring(int n, double radius = 60, int x = 150, int y = 100) {
    Points points;
    for (int k = 0; k < n; ++k) {
        const double angle = -2 * M_PI * k / n, r = radius * (1 + 0.2 * std::cos(5 * angle));
        points.emplace_back(int(std::lround(x + r * std::cos(angle))), int(std::lround(y + r * std::sin(angle))));
    }
    return points;
}

} // namespace vorlen
