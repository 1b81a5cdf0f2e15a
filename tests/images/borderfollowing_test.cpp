#include "images/regions/thresholding.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "images/rasters/pixelmatrix.h"
#include "shapes/curve.h"
#include "support/failures.h"
#include "support/vectors.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

using Pixel = std::pair<int, int>;

// Foreground where the drawing has an x.
PixelMatrix<int> drawing(const std::vector<std::string>& rows) {
    PixelMatrix<int> matrix(static_cast<int>(rows.size()), static_cast<int>(rows.front().size()));
    for (int i = 0; i < matrix.getSize1(); ++i)
        for (int j = 0; j < matrix.getSize2(); ++j)
            matrix[i][j] = rows[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)] == 'x' ? 255 : 0;
    return matrix;
}

Pixel firstForeground(const PixelMatrix<int>& matrix) {
    for (int i = 0; i < matrix.getSize1(); ++i)
        for (int j = 0; j < matrix.getSize2(); ++j)
            if (matrix[i][j] == 255)
                return {i, j};
    return {-1, -1};
}

std::vector<Pixel> follow(const PixelMatrix<int>& matrix, const Pixel& start, int tolerance = 0) {
    Curve<int> curve;
    Thresholding<int>().extractCurve(curve, start.first, start.second, matrix, tolerance);
    std::vector<Pixel> vertices;
    for (int k = 0; k < curve.getSize(); ++k)
        vertices.emplace_back(curve[k][0], curve[k][1]);
    return vertices;
}

std::vector<Pixel> follow(const std::vector<std::string>& rows, int tolerance = 0) {
    const PixelMatrix<int> matrix = drawing(rows);
    return follow(matrix, firstForeground(matrix), tolerance);
}

// All pixels of the way around; fails where two vertices are not joined by steps of one kind.
std::vector<Pixel> wayAround(const std::vector<Pixel>& vertices) {
    std::vector<Pixel> way;
    for (std::size_t k = 0; k < vertices.size(); ++k) {
        Pixel place = vertices[k];
        const Pixel next = vertices[(k + 1) % vertices.size()];
        const int rows = next.first - place.first, columns = next.second - place.second;
        EXPECT_TRUE(rows == 0 || columns == 0 || std::abs(rows) == std::abs(columns));
        for (int steps = std::max(std::abs(rows), std::abs(columns)); steps > 0; --steps) {
            way.push_back(place);
            place.first += (rows > 0) - (rows < 0);
            place.second += (columns > 0) - (columns < 0);
        }
    }
    return way;
}

// A union of discs that overlap, so that nothing is thinner than a few pixels; holes are filled.
PixelMatrix<int> blob(std::mt19937& engine, int side, bool touchesBorder) {
    PixelMatrix<int> matrix(side, side);
    matrix.setZeros();
    std::uniform_real_distribution<double> radius(4.0, 9.0), angle(0.0, 6.283);
    double row = touchesBorder ? 3.0 : side / 2.0, column = touchesBorder ? 3.0 : side / 2.0;
    for (int disc = 0; disc < 12; ++disc) {
        const double r = radius(engine), a = angle(engine);
        for (int i = 0; i < side; ++i)
            for (int j = 0; j < side; ++j) {
                const bool kept = touchesBorder || (i > 0 && j > 0 && i < side - 1 && j < side - 1);
                if (kept && std::hypot(i - row, j - column) <= r)
                    matrix[i][j] = 255;
            }
        row = std::clamp(row + 3.0 * std::sin(a), 0.0, side - 1.0);
        column = std::clamp(column + 3.0 * std::cos(a), 0.0, side - 1.0);
    }
    return matrix;
}

} // namespace

// Southward first, a vertex at each change of direction; the last side ends at the start.
TEST(BorderFollowing, walksRoundARectangle) {
    EXPECT_EQ(follow({"......", ".xxxx.", ".xxxx.", ".xxxx.", "......"}),
              (std::vector<Pixel>{{1, 1}, {3, 1}, {3, 4}, {1, 4}, {1, 1}}));
    EXPECT_EQ(follow({"xxx", "x.x", "xxx"}), (std::vector<Pixel>{{0, 0}, {2, 0}, {2, 2}, {0, 2}, {0, 0}}));
    EXPECT_EQ(follow({"xx", "xx"}), (std::vector<Pixel>{{0, 0}, {1, 0}, {1, 1}, {0, 1}}));
}

TEST(BorderFollowing, walksRoundADiamond) {
    EXPECT_EQ(follow({"..x..", ".xxx.", "xxxxx", ".xxx.", "..x.."}),
              (std::vector<Pixel>{{0, 2}, {2, 0}, {4, 2}, {2, 4}, {0, 2}}));
}

TEST(BorderFollowing, walksThinPartsThereAndBack) {
    EXPECT_EQ(follow({".x.", ".x.", ".x."}), (std::vector<Pixel>{{0, 1}, {2, 1}, {0, 1}}));
    EXPECT_EQ(follow({"xxx"}), (std::vector<Pixel>{{0, 0}, {0, 2}, {0, 0}}));
}

TEST(BorderFollowing, givesASinglePixelAlone) {
    EXPECT_EQ(follow({"x"}), (std::vector<Pixel>{{0, 0}}));
    EXPECT_EQ(follow({"...", ".x.", "..."}), (std::vector<Pixel>{{1, 1}}));
}

// On the way down the corner at (2, 0) spans an area of 2 / 2 with its neighbours, on the way up each corner 1 / 2.
TEST(BorderFollowing, dropsVerticesUpToTheTolerance) {
    const std::vector<std::string> thread = {"x..", "x..", "xx.", ".x."};
    const std::vector<Pixel> all = {{0, 0}, {2, 0}, {3, 1}, {2, 1}, {1, 0}};
    EXPECT_EQ(follow(thread, 0), all);
    EXPECT_EQ(follow(thread, -5), all);
    EXPECT_EQ(follow(thread, 1), (std::vector<Pixel>{{0, 0}, {2, 0}, {3, 1}, {0, 0}}));
    EXPECT_EQ(follow(thread, 2), (std::vector<Pixel>{{0, 0}, {3, 1}, {0, 0}}));
}

TEST(BorderFollowing, appendsToACurveInThePlane) {
    const PixelMatrix<int> matrix = drawing({"xx", "xx"});
    Curve<int> curve;
    curve.append(vectorOf({40, 50}));
    Thresholding<int>().extractCurve(curve, 0, 0, matrix, 0);
    ASSERT_EQ(curve.getSize(), 5);
    EXPECT_EQ(curve[0], vectorOf({40, 50}));
    EXPECT_EQ(curve[2], vectorOf({1, 0}));
    Curve<int> spatial(3, 0, 4, 4, false);
    expectFailure<SizeError>([&] { Thresholding<int>().extractCurve(spatial, 0, 0, matrix, 0); },
                             "void Thresholding<T>::extractCurve(...) const",
                             "The vertices of the curve are not planar");
}

// The border of a blob without thin parts encloses exactly the blob, wherever the walk begins on its left side, and is
// the same on the outline that contours() leaves.
TEST(BorderFollowing, enclosesRandomBlobs) {
    std::mt19937 engine(17);
    for (int trial = 0; trial < 60; ++trial) {
        const PixelMatrix<int> matrix = blob(engine, 48, trial % 2 == 1);
        const std::vector<Pixel> vertices = follow(matrix, firstForeground(matrix));
        const std::vector<Pixel> way = wayAround(vertices);
        PixelMatrix<int> onWay(48, 48);
        onWay.setZeros();
        for (const auto& [i, j] : way) {
            EXPECT_EQ(matrix[i][j], 255);
            onWay[i][j] = 1;
        }
        // Even-odd rule along each row, on pixel centres; the way goes through pixels of the blob.
        Curve<double> polygon;
        for (const auto& [i, j] : vertices)
            polygon.append(vectorOf({double(i), double(j)}));
        for (int i = 0; i < 48; ++i)
            for (int j = 0; j < 48; ++j) {
                const bool enclosed = onWay[i][j] == 1 || polygon.contains(vectorOf({double(i), double(j)}), 0, 1);
                ASSERT_EQ(enclosed, matrix[i][j] == 255) << trial << ": " << i << " " << j;
            }
        PixelMatrix<int> outline = matrix;
        Thresholding<int>().contours(outline);
        EXPECT_EQ(follow(outline, firstForeground(outline)), vertices) << trial;
    }
}

// At the start two parts touch: the walk comes by twice.
TEST(BorderFollowing, goesOnWhereTheBorderPassesTheStartAgain) {
    const PixelMatrix<int> matrix = drawing({"xx...", "xx...", "..xx.", "..xx."});
    EXPECT_EQ(wayAround(follow(matrix, {2, 2})).size(), 10u);
    EXPECT_EQ(wayAround(follow(matrix, {0, 0})).size(), 10u);
    EXPECT_EQ(follow({".x.", "x.x", ".x."}), (std::vector<Pixel>{{0, 1}, {1, 0}, {2, 1}, {1, 2}}));
}

// A lattice polygon of area A with B steps holds A + B / 2 + 1 points (G. Pick, 1899), also where it runs to and fro,
// and those are the region with its holes filled: all but the background that a flood from outside reaches.
TEST(BorderFollowing, enclosesRaggedRegionsToTheLastPixel) {
    std::mt19937 engine(5);
    constexpr int side = 9;
    for (int trial = 0; trial < 2000; ++trial) {
        std::bernoulli_distribution isForeground(trial % 2 == 0 ? 0.45 : 0.6);
        PixelMatrix<int> matrix(side + 2, side + 2);
        matrix.setZeros();
        for (int i = 1; i <= side; ++i)
            for (int j = 1; j <= side; ++j)
                matrix[i][j] = isForeground(engine) ? 255 : 0;
        const auto [row, column] = firstForeground(matrix);
        const auto spread = [&](Pixel from, int old, int mark, int diagonal) {
            std::vector<Pixel> list = {from};
            matrix[from.first][from.second] = mark;
            int count = 0;
            while (!list.empty()) {
                const auto [i, j] = list.back();
                list.pop_back();
                ++count;
                for (int a = -1; a <= 1; ++a)
                    for (int b = -1; b <= 1; ++b)
                        if ((diagonal || a == 0 || b == 0) && matrix.contains(i + a, j + b) &&
                            matrix[i + a][j + b] == old) {
                            matrix[i + a][j + b] = mark;
                            list.emplace_back(i + a, j + b);
                        }
            }
            return count;
        };
        if (row < 0)
            continue;
        // The region of the first pixel alone.
        spread({row, column}, 255, 1, true);
        for (int i = 0; i < side + 2; ++i)
            for (int& value : matrix[i])
                value = value == 1 ? 255 : 0;
        const std::vector<Pixel> vertices = follow(matrix, {row, column});
        const int enclosed = (side + 2) * (side + 2) - spread({0, 0}, 0, 2, false);
        const std::vector<Pixel> way = wayAround(vertices);
        int twiceArea = 0;
        for (std::size_t k = 0; k < vertices.size(); ++k) {
            const Pixel &p = vertices[k], &q = vertices[(k + 1) % vertices.size()];
            twiceArea += p.first * q.second - q.first * p.second;
        }
        ASSERT_EQ(std::abs(twiceArea) + int(way.size()) + 2, 2 * enclosed) << trial;
    }
}

TEST(BorderFollowing, refusesStartsFromWhichThereIsNoWayHome) {
    const std::string where = "void Thresholding<T>::extractCurve(...) const";
    const PixelMatrix<int> matrix = drawing({".x.", "xxx", ".x."}); // the walk goes round the centre
    Curve<int> curve;
    const auto from = [&](int row, int column) {
        return [&, row, column] { Thresholding<int>().extractCurve(curve, row, column, matrix, 0); };
    };
    expectFailure<RangeError>(from(-1, 0), where, "The starting pixel lies outside the matrix");
    expectFailure<RangeError>(from(0, 3), where, "The starting pixel lies outside the matrix");
    expectFailure<ValueError>(from(2, 2), where, "The starting pixel does not belong to the foreground");
    expectFailure<ValueError>(from(1, 1), where, "The border does not come back to the starting pixel");
    EXPECT_EQ(curve.getSize(), 0);
}

// In noise every walk ends, at home or with a refusal, whatever its start.
TEST(BorderFollowing, endsFromEveryPixelOfNoise) {
    std::mt19937 engine(23);
    int home = 0, refused = 0;
    for (const double density : {0.3, 0.5, 0.7, 0.9}) {
        PixelMatrix<int> matrix(25, 30);
        std::bernoulli_distribution isForeground(density);
        for (int i = 0; i < 25; ++i)
            for (int& value : matrix[i])
                value = isForeground(engine) ? 255 : 0;
        for (int i = 0; i < 25; ++i)
            for (int j = 0; j < 30; ++j)
                if (matrix[i][j] == 255) {
                    try {
                        const auto vertices = follow(matrix, {i, j}, (i + j) % 4);
                        EXPECT_EQ(vertices.front(), Pixel(i, j));
                        ++home;
                    } catch (const ValueError&) {
                        ++refused;
                    }
                }
    }
    EXPECT_GT(home, 300);
    EXPECT_GT(refused, 300);
}

} // namespace vorlen
