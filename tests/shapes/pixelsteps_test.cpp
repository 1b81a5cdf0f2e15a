#include "shapes/pixelsteps.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <numbers>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "shapes/curve.h"

namespace vorlen {

namespace {

using Corners = std::vector<std::pair<double, double>>;

Vertices<double> verticesAt(const Corners& corners) {
    const int n = int(corners.size());
    Vertices<double> vertices(2, n, n, 1);
    for (int k = 0; k < n; ++k) {
        vertices[k][0] = corners[std::size_t(k)].first;
        vertices[k][1] = corners[std::size_t(k)].second;
    }
    return vertices;
}

Corners cornersWithoutSteps(const Corners& corners, bool closed) {
    const Vertices<double> vertices = withoutPixelSteps(verticesAt(corners), closed);
    Corners left;
    for (int k = 0; k < vertices.getNumVertices(); ++k)
        left.emplace_back(vertices[k][0], vertices[k][1]);
    return left;
}

double lengthOf(const Corners& corners, bool closed) {
    return Curve<double>(verticesAt(corners), !closed).length();
}

/// From pixel to pixel along a line, in steps to any of eight neighbours, or of four.
Corners digitized(const std::function<std::pair<double, double>(double)>& line, int numNeighbours) {
    Corners path;
    for (int k = 0; k <= 100000; ++k) {
        const auto [x, y] = line(k / 100000.0);
        const std::pair<double, double> pixel(std::round(x), std::round(y));
        if (!path.empty() && path.back() == pixel)
            continue;
        const auto isNear = [&](const std::pair<double, double>& other) {
            return std::max(std::abs(other.first - pixel.first), std::abs(other.second - pixel.second)) <= 1;
        };
        if (numNeighbours == 8 && path.size() > 1 && isNear(path[path.size() - 2]))
            path.pop_back();
        if (numNeighbours == 4 && !path.empty() && path.back().first != pixel.first &&
            path.back().second != pixel.second)
            path.emplace_back(pixel.first, path.back().second);
        path.push_back(pixel);
    }
    return path;
}

} // namespace

// Drawn pixel by pixel a circle is 5 % or 27 % too long, at any size.
TEST(PixelSteps, leaveCirclesOfTheirTrueLength) {
    for (const double radius : {10.0, 20.0, 40.0, 160.0})
        for (const int numNeighbours : {8, 4})
            for (const double shift : {0.0, 0.21, 0.5, 0.77}) {
                Corners circle = digitized(
                    [&](double share) {
                        const double angle = 2 * std::numbers::pi * share;
                        return std::make_pair(shift + radius * std::cos(angle), 2 * shift + radius * std::sin(angle));
                    },
                    numNeighbours);
                circle.pop_back();
                const double truth = 2 * std::numbers::pi * radius;
                EXPECT_GT(lengthOf(circle, true), (numNeighbours == 8 ? 1.03 : 1.2) * truth);
                const double bound = radius > 100 ? 0.001 : radius > 30 ? 0.004 : radius > 15 ? 0.014 : 0.024;
                EXPECT_NEAR(lengthOf(cornersWithoutSteps(circle, true), true), truth, bound * truth)
                    << radius << " " << shift << " " << numNeighbours;
            }
}

TEST(PixelSteps, leaveStraightLinesOfAnyDirectionStraight) {
    for (int degrees = 0; degrees < 360; degrees += 7) {
        const double angle = degrees * std::numbers::pi / 180, x = std::cos(angle), y = std::sin(angle);
        const double longer = std::max(std::abs(x), std::abs(y));
        Corners eight, four;
        for (int k = 0; k <= 200; ++k) {
            const std::pair<double, double> pixel(std::round(0.3 + k * x / longer), std::round(0.4 + k * y / longer));
            // Of the two ways around a diagonal always that along the longer axis first.
            if (k > 0 && four.back().first != pixel.first && four.back().second != pixel.second)
                four.push_back(std::abs(x) > std::abs(y) ? std::make_pair(pixel.first, four.back().second)
                                                         : std::make_pair(four.back().first, pixel.second));
            eight.push_back(pixel);
            four.push_back(pixel);
        }
        EXPECT_EQ(cornersWithoutSteps(eight, false), (Corners{eight.front(), eight.back()})) << degrees;
        EXPECT_EQ(cornersWithoutSteps(four, false), (Corners{four.front(), four.back()})) << degrees;
    }
}

// Segments go a pixel round each corner, which took half a pixel at each.
TEST(PixelSteps, leaveTheCornersOfRectangles) {
    for (const auto& [width, height] : {std::pair(50, 40), {20, 20}, {100, 7}, {3, 9}})
        for (const bool backward : {false, true}) {
            Corners pixels;
            for (int k = 0; k < width; ++k)
                pixels.emplace_back(7 + k, 11);
            for (int k = 0; k < height; ++k)
                pixels.emplace_back(7 + width, 11 + k);
            for (int k = width; k > 0; --k)
                pixels.emplace_back(7 + k, 11 + height);
            for (int k = height; k > 0; --k)
                pixels.emplace_back(7, 11 + k);
            if (backward)
                std::reverse(pixels.begin(), pixels.end());
            for (const std::size_t first : {0, 1, 2, 5, width - 1, width, width + 1}) {
                Corners turned = pixels;
                std::rotate(turned.begin(), turned.begin() + std::ptrdiff_t(first), turned.end());
                const Corners left = cornersWithoutSteps(turned, true);
                EXPECT_EQ(left.size(), 4u) << width << " " << first;
                EXPECT_NEAR(lengthOf(left, true), 2.0 * (width + height), 1e-9) << width << " " << first;
            }
        }
    const Corners corner = {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {4, 1}, {4, 2}, {4, 3}};
    EXPECT_EQ(cornersWithoutSteps(corner, false), (Corners{{0, 0}, {4, 0}, {4, 3}}));
}

// The steps of an outline between the pixels are half as large.
TEST(PixelSteps, areFoundBetweenThePixelsToo) {
    Corners stairs;
    for (int k = 0; k < 60; ++k) {
        stairs.emplace_back(2 * k, k + 0.5);
        stairs.emplace_back(2 * k + 1, k + 0.5);
        stairs.emplace_back(2 * k + 1.5, k + 1);
    }
    EXPECT_EQ(cornersWithoutSteps(stairs, false).size(), 2u);
}

TEST(PixelSteps, areNotWhatAHandHasDrawn) {
    const std::vector<Corners> drawn = {
        {{0, 0}, {50, 0}, {50, 30}, {0, 30}},                                            // along the axes
        {{20, 0}, {40, 20}, {20, 40}, {0, 20}},                                          // along the diagonals
        {{0, 0}, {10, 0}, {17, 7}, {17, 17}, {10, 24}, {0, 24}, {-7, 17}, {-7, 7}},      // both
        {{0, 0}, {20, 0}, {20, 10}, {12, 10}, {12, 13}, {20, 13}, {20, 30}, {0, 30}},    // a notch
        {{0, 0}, {31, 7}, {55, 40}, {12, 60}},                                           // any directions
        {{0.3, 0.2}, {1.3, 0.2}, {2.3, 1.2}, {3.3, 1.2}, {4.3, 2.2}, {4.3, 9.2}, {0, 9}} // not on the grid
    };
    for (const Corners& corners : drawn)
        EXPECT_EQ(cornersWithoutSteps(corners, true), corners);
    // Too little would be left, or there is too little.
    const Corners blob = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    EXPECT_EQ(cornersWithoutSteps(blob, true), blob);
    for (const Corners& few : {Corners{}, {{1, 1}}, {{1, 1}, {2, 2}}, {{1, 1}, {2, 2}, {2, 3}}})
        EXPECT_EQ(cornersWithoutSteps(few, true), few);
    for (const Corners& few : {Corners{}, {{1, 1}}, {{1, 1}, {2, 2}}})
        EXPECT_EQ(cornersWithoutSteps(few, false), few);
}

} // namespace vorlen
