#include "images/regions/livewire.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "numerics/exception.h"

namespace vorlen {

namespace {

PixelMatrix<float> disk(int size, double radius) {
    PixelMatrix<float> image(size, size);
    for (int i = 0; i < size; ++i)
        for (int j = 0; j < size; ++j)
            image[i][j] = std::hypot(i - size / 2, j - size / 2) < radius ? 200.0f : 50.0f;
    return image;
}

} // namespace

TEST(LiveWire, theWayFollowsTheEdgeOfADisk) {
    LiveWire wire(disk(101, 30));
    wire.setSeed(50, 80);
    const auto path = wire.path(20, 50); // a quarter of the circle on
    EXPECT_EQ(path.front(), std::make_pair(50, 80));
    EXPECT_EQ(path.back(), std::make_pair(20, 50));
    for (std::size_t k = 0; k < path.size(); ++k) {
        EXPECT_NEAR(std::hypot(path[k].first - 50, path[k].second - 50), 30, 1.8) << k;
        if (k > 0) {
            EXPECT_LE(
                std::max(std::abs(path[k].first - path[k - 1].first), std::abs(path[k].second - path[k - 1].second)),
                1);
        }
    }
    EXPECT_EQ(wire.path(50, 80).size(), 1U); // back at the seed, after a search that went farther
}

// A disk whose rim passes between the pixels, each of which has the share of it that lies within.
TEST(LiveWire, theEdgeIsFoundBetweenThePixels) {
    constexpr double radius = 30.3, row = 50.4, column = 49.7;
    PixelMatrix<float> image(101, 101);
    for (int i = 0; i < 101; ++i)
        for (int j = 0; j < 101; ++j)
            image[i][j] = 50 + 150 * float(std::clamp(radius - std::hypot(i - row, j - column) + 0.5, 0.0, 1.0));
    LiveWire wire(image);
    wire.setSeed(50, 80);
    const auto pixels = wire.path(50, 19);
    const auto edge = wire.edge(50, 19);
    ASSERT_EQ(edge.size(), pixels.size());
    EXPECT_EQ(edge.front(), (std::pair<double, double>(50, 80)));
    EXPECT_EQ(edge.back(), (std::pair<double, double>(50, 19)));
    double ofPixels = 0, ofEdge = 0;
    for (std::size_t k = 1; k + 1 < edge.size(); ++k) {
        const double away = std::abs(std::hypot(edge[k].first - row, edge[k].second - column) - radius);
        EXPECT_LT(away, 0.5) << k;
        ofEdge += away;
        ofPixels += std::abs(std::hypot(pixels[k].first - row, pixels[k].second - column) - radius);
    }
    EXPECT_LT(ofEdge / double(edge.size()), 0.1);
    EXPECT_LT(ofEdge, 0.5 * ofPixels);

    for (int i = 0; i < 101; ++i)
        for (int j = 0; j < 101; ++j)
            image[i][j] = 7;
    LiveWire nothing(image);
    nothing.setSeed(4, 1);
    for (const auto& [i, j] : nothing.edge(4, 7))
        EXPECT_EQ(i, 4);
}

TEST(LiveWire, whereNothingIsTheWayIsStraight) {
    PixelMatrix<float> image(20, 40);
    for (int i = 0; i < 20; ++i)
        for (int j = 0; j < 40; ++j)
            image[i][j] = i == 3 && j == 4 ? std::numeric_limits<float>::quiet_NaN() : 0.0f;
    LiveWire wire(image);
    EXPECT_THROW(wire.path(0, 0), UsageError);
    EXPECT_THROW(wire.setSeed(20, 0), RangeError);
    wire.setSeed(10, 2);
    EXPECT_THROW(wire.path(0, 40), RangeError);
    EXPECT_EQ(wire.path(10, 37).size(), 36U);
    for (const auto& [row, column] : wire.path(10, 37))
        EXPECT_EQ(row, 10);
    EXPECT_EQ(wire.path(0, 12).size(), 11U); // diagonal
}

} // namespace vorlen
