#include "shapes/sectionregion.h"

#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "support/testcurves.h"

namespace vorlen {

namespace {

template <class T>
double areaOf(const std::vector<std::vector<std::vector<T>>>& outlines) {
    SectionRegion region;
    for (const auto& outline : outlines)
        region.add(verticesOf<T>(outline));
    return region.area();
}

std::vector<std::vector<int>> box(int x, int y, int width, int height) {
    return {{x, y}, {x + width, y}, {x + width, y + height}, {x, y + height}};
}

} // namespace

TEST(SectionRegion, isEvenOddWhateverTheOrderAndTheDirection) {
    std::vector<std::vector<std::vector<int>>> outlines = {box(0, 0, 30, 30), box(5, 5, 20, 20), box(10, 10, 5, 5),
                                                           box(100, 0, 10, 10)};
    // A hole in the first, an island in the hole, and one apart.
    const double expected = 900 - 400 + 25 + 100;
    do {
        EXPECT_EQ(areaOf(outlines), expected);
        auto turned = outlines;
        std::reverse(turned[1].begin(), turned[1].end());
        EXPECT_EQ(areaOf(turned), expected);
    } while (std::next_permutation(outlines.begin(), outlines.end()));
}

TEST(SectionRegion, takesOutlinesThatCrossTouchAndCoincide) {
    EXPECT_EQ(areaOf<int>({{{0, 0}, {10, 10}, {10, 0}, {0, 10}}}), 50); // a figure of 8
    EXPECT_EQ(areaOf<int>({box(0, 0, 10, 10), box(5, 5, 10, 10)}), 150);
    EXPECT_EQ(areaOf<int>({box(0, 0, 10, 10), box(10, 0, 10, 10)}), 200); // a wall in common
    EXPECT_EQ(areaOf<int>({box(0, 0, 10, 10), box(0, 0, 10, 10)}), 0);    // twice the same
    EXPECT_EQ(areaOf<int>({box(0, 0, 10, 10), box(0, 0, 5, 10)}), 50);    // a hole along the border
    EXPECT_EQ(areaOf<int>({{{0, 0}, {9, 0}, {9, 5}, {9, 0}}}), 0);        // there and back
    EXPECT_EQ(areaOf<int>({{{0, 0}, {8, 4}}, {{3, 3}}, {}}), 0);          // lines and points
    EXPECT_NEAR(areaOf<int>({box(0, 0, 10, 10), {{5, -5}, {15, 5}, {5, 15}, {-5, 5}}}), 100 + 200 - 2 * 100, 1e-12);
    // Five points of a star in the order of its strokes: the pentagon in the middle is outside.
    std::vector<std::vector<double>> star;
    for (int k = 0; k < 5; ++k)
        star.push_back({std::sin(k * 0.8 * 3.14159265358979323846), std::cos(k * 0.8 * 3.14159265358979323846)});
    const double pi = 3.14159265358979323846;
    const double inner = std::cos(0.4 * pi) / std::cos(0.2 * pi);
    const double decagon = 5 * inner * std::sin(0.2 * pi), pentagon = 2.5 * inner * inner * std::sin(0.4 * pi);
    EXPECT_NEAR(areaOf<double>({star}), decagon - pentagon, 1e-12);
    SectionRegion region;
    EXPECT_THROW(region.add(Vertices<int>(1, 3, 3, 3)), SizeError);
}

// Boxes on a grid of pixels against the parity of each pixel, counted.
TEST(SectionRegion, agreesWithCountedPixels) {
    std::mt19937 random(3);
    for (int round = 0; round < 50; ++round) {
        std::vector<std::vector<std::vector<int>>> outlines;
        bool odd[20][20] = {};
        for (int k = 0; k < 8; ++k) {
            const int x = int(random() % 15), y = int(random() % 15);
            const int width = 1 + int(random() % 5), height = 1 + int(random() % 5);
            outlines.push_back(box(x, y, width, height));
            for (int i = y; i < y + height; ++i)
                for (int j = x; j < x + width; ++j)
                    odd[i][j] = !odd[i][j];
        }
        EXPECT_NEAR(areaOf(outlines), double(std::count(&odd[0][0], &odd[0][0] + 400, true)), 1e-9);
    }
}

} // namespace vorlen
