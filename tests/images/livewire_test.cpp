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
