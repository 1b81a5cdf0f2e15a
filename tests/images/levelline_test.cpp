#include "images/regions/levelline.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "shapes/curve.h"

namespace vorlen {

namespace {

using Corner = std::pair<double, double>;

/// Below the level of 5 where there is an x.
PixelMatrix<int> drawnValues(const std::vector<std::string>& rows) {
    PixelMatrix<int> values(int(rows.size()), int(rows[0].size()));
    for (int i = 0; i < values.getSize1(); ++i)
        for (int j = 0; j < values.getSize2(); ++j)
            values[i][j] = rows[std::size_t(i)][std::size_t(j)] == 'x' ? 0 : 10;
    return values;
}

std::vector<Corner> cornersOf(const Curve<double>& curve) {
    std::vector<Corner> corners;
    for (int k = 0; k < curve.getSize(); ++k)
        corners.emplace_back(curve[k][0], curve[k][1]);
    return corners;
}

std::vector<Corner> lineAround(const std::vector<std::string>& rows, int row, int column, double tolerance = 0) {
    return cornersOf(levelLine(drawnValues(rows), row, column, 5, tolerance));
}

/// An edge around (x, y) that rises from 0 to 60000 over 6 pixels, halfway at the radius.
PixelMatrix<int> blurredDisk(int size, double x, double y, double radius) {
    PixelMatrix<int> values(size, size);
    for (int i = 0; i < size; ++i)
        for (int j = 0; j < size; ++j) {
            const double beyond = std::hypot(j - x, i - y) - radius;
            values[i][j] = int(std::lround(std::clamp(30000 + 10000 * beyond, 0.0, 60000.0)));
        }
    return values;
}

} // namespace

TEST(LevelLine, runsHalfwayBetweenThePixelsOfTwoValuesAndAroundTheirCorners) {
    EXPECT_EQ(std::set<Corner>({{0.5, 1}, {0.5, 2}, {1, 2.5}, {3, 2.5}, {3.5, 2}, {3.5, 1}, {3, 0.5}, {1, 0.5}}), [] {
        const std::vector<Corner> found = lineAround({".....", ".xxx.", ".xxx.", "....."}, 1, 1);
        EXPECT_EQ(found.size(), 8u);
        return std::set<Corner>(found.begin(), found.end());
    }());
    // What touches by corners is one region, also from a start that is no border but by a corner.
    EXPECT_EQ(lineAround({"....", ".x..", "..x.", "...."}, 1, 1).size(), 8u);
    EXPECT_EQ(lineAround({"....", ".x..", "..x.", "...."}, 1, 1), lineAround({"....", ".x..", "..x.", "...."}, 1, 1));
    const std::vector<std::string> notched = {"......", "..xxx.", ".xxxx.", ".xxxx.", "......"};
    EXPECT_EQ(lineAround(notched, 2, 2).size(), lineAround(notched, 2, 1).size());
    // A hole has a line of its own, and so has the outside.
    const std::vector<std::string> ring = {"xxx", "x.x", "xxx"};
    EXPECT_EQ(std::set<Corner>({{0.5, 1}, {1, 0.5}, {1.5, 1}, {1, 1.5}}), [&] {
        std::vector<std::string> wide = {"......."};
        for (const std::string& row : {".xxxxx.", ".xxxxx.", ".xx.xx.", ".xxxxx.", ".xxxxx."})
            wide.push_back(row);
        wide.push_back(".......");
        std::set<Corner> hole;
        for (const auto& [x, y] : lineAround(wide, 3, 2))
            hole.emplace(x - 2, y - 2);
        return hole;
    }());
    // The last pixels of the image are where a line ends that would leave it.
    const std::vector<Corner> whole = lineAround({"xxx", "xxx", "xxx"}, 0, 0);
    EXPECT_EQ(std::set<Corner>(whole.begin(), whole.end()), std::set<Corner>({{0, 0}, {0, 2}, {2, 2}, {2, 0}}));
    EXPECT_EQ(lineAround(ring, 0, 0).size(), 4u);
    EXPECT_EQ(lineAround({"...", ".x.", "..."}, 1, 1), (std::vector<Corner>{{1, 1}}));
    EXPECT_EQ(lineAround({"x"}, 0, 0), (std::vector<Corner>{{0, 0}}));
}

TEST(LevelLine, meetsABlurredEdgeToAHundredthOfAPixel) {
    for (const double radius : {7.3, 20.0, 45.25}) {
        const double x = 60.3, y = 59.8;
        const PixelMatrix<int> values = blurredDisk(120, x, y, radius);
        const auto start = int(std::ceil(x - radius));
        const Curve<double> line = levelLine(values, 60, start, 30000, 0);
        for (int k = 0; k < line.getSize(); ++k)
            EXPECT_NEAR(std::hypot(line[k][0] - x, line[k][1] - y), radius, 0.01);
        const double area = 3.14159265358979324 * radius * radius;
        EXPECT_NEAR(std::abs(line.twiceArea(0, 1)) / 2, area, 0.004 * area);
        // The tolerance leaves a tenth of the vertices, and nearly all of the area.
        const Curve<double> thin = levelLine(values, 60, start, 30000, 2);
        EXPECT_LT(thin.getSize(), line.getSize() / 5);
        EXPECT_NEAR(std::abs(thin.twiceArea(0, 1)) / 2, area, thin.getSize() * 1.01 + 0.004 * area);
    }
}

TEST(LevelLine, needsAStartAtABorder) {
    const PixelMatrix<int> block = drawnValues({".....", ".xxx.", ".xxx.", ".xxx.", "....."});
    EXPECT_THROW(levelLine(block, 2, 2, 5, 0), ValueError);
    EXPECT_THROW(levelLine(block, 0, 0, 5, 0), ValueError);
    EXPECT_THROW(levelLine(block, 5, 0, 5, 0), RangeError);
    EXPECT_THROW(levelLine(block, 0, -1, 5, 0), RangeError);
}

} // namespace vorlen
