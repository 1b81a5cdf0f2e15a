#include "reconstruction/curvestacktriangulation.h"

#include <cmath>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "shapes/curvestack.h"

namespace vorlen {

namespace {

using Points = std::vector<std::array<double, 2>>;

/// Levels at heights 0, 1, 2, ... through these points.
template <class T>
CurveStack<T> stackOf(const std::vector<Points>& levels, bool open = false) {
    CurveStack<T> stack(3, 0, 0, 0, 0, open);
    for (std::size_t l = 0; l < levels.size(); ++l) {
        const int n = int(levels[l].size());
        Curve<T> curve(3, n, n, 1, open);
        for (int k = 0; k < n; ++k) {
            curve[k][0] = T(levels[l][std::size_t(k)][0]);
            curve[k][1] = T(levels[l][std::size_t(k)][1]);
            curve[k][2] = T(l);
        }
        stack.append(static_cast<const Vertices<T>&>(curve));
    }
    stack.detach();
    return stack;
}

Points circle(int n, double radius, double phase = 0) {
    Points points;
    for (int i = 0; i < n; ++i) {
        const double angle = phase + 2 * 3.14159265358979323846 * i / n;
        points.push_back({radius * std::cos(angle), radius * std::sin(angle)});
    }
    return points;
}

const Points unitSquare = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};

template <class T>
std::vector<int> corners(const TriMesh<T>& mesh, int triangle) {
    const Vector<unsigned int>& numbers = mesh.getTriangleIndexes(unsigned(triangle));
    return {int(numbers[0]), int(numbers[1]), int(numbers[2])};
}

/// Each edge of the wall is used by two triangles that run along it in opposite directions, but for the edges of the
/// first and the last contour, which are used by one.
template <class T>
void expectWatertightWall(const TriMesh<T>& mesh, int firstSize, int lastSize) {
    std::map<std::pair<int, int>, int> uses;
    for (int t = 0; t < int(mesh.getNumTriangles()); ++t) {
        const std::vector<int> c = corners(mesh, t);
        for (int k = 0; k < 3; ++k)
            ++uses[{c[std::size_t(k)], c[std::size_t((k + 1) % 3)]}];
    }
    int borders = 0;
    for (const auto& [edge, count] : uses) {
        EXPECT_EQ(count, 1) << "edge " << edge.first << "-" << edge.second;
        borders += uses.count({edge.second, edge.first}) == 0;
    }
    EXPECT_EQ(borders, firstSize + lastSize);
}

} // namespace

TEST(CurveStackTriangulation, twoSquaresMakeAWallOfAreaFourByAllMethods) {
    for (int method = 1; method <= 4; ++method) {
        ::testing::internal::CaptureStdout();
        CurveStackTriangulation<double> tiling(stackOf<double>({unitSquare, unitSquare}), method);
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), method == 3 ? "closed case, method 3\n" : "");
        EXPECT_EQ(tiling.getTriMesh().getNumTriangles(), 8) << method;
        EXPECT_EQ(tiling.getTriMesh().getNumVertices(), 8);
        EXPECT_NEAR(tiling.getTriMesh().area(), 4, 1e-12) << method;
        expectWatertightWall(tiling.getTriMesh(), 4, 4);
    }
}

TEST(CurveStackTriangulation, tiesAreBrokenByTheRuleOfTheMethod) {
    // Squares one above the other: the first free step is a tie of diagonals and of arc lengths.
    CurveStackTriangulation<double> diagonal(stackOf<double>({unitSquare, unitSquare}), 1);
    EXPECT_EQ(corners(diagonal.getTriMesh(), 0), (std::vector<int>{4, 0, 5}));
    CurveStackTriangulation<double> arc(stackOf<double>({unitSquare, unitSquare}), 2);
    EXPECT_EQ(corners(arc.getTriMesh(), 0), (std::vector<int>{4, 0, 1}));
}

TEST(CurveStackTriangulation, theWalkStartsAtTheClosestPair) {
    // The upper triangle's last vertex stands right above the lower one's second.
    const Points lower = {{0, 0}, {10, 0}, {0, 10}}, upper = {{3, 9}, {-5, 2}, {10, 0.5}};
    CurveStackTriangulation<double> tiling(stackOf<double>({lower, upper}), 1);
    ASSERT_EQ(tiling.getTriMesh().getNumTriangles(), 6);
    const std::vector<int> first = corners(tiling.getTriMesh(), 0);
    EXPECT_EQ(first[0], 3 + 2);
    EXPECT_EQ(first[1], 1);
    expectWatertightWall(tiling.getTriMesh(), 3, 3);
}

// Slanted tubes of circles of radius 2, shifted by half a radius to three of them on each level; the area of their wall
// by Simpson's rule over the angle.
TEST(CurveStackTriangulation, centredContoursMakeSlantedTubesOfTheRightArea) {
    const double pi = 3.14159265358979323846;
    for (const double shift : {1.0, 2.0, 3.0, 4.0, 6.0}) {
        std::vector<Points> levels;
        for (int l = 0; l < 6; ++l) {
            levels.push_back(circle(200, 2, 0.3 * l));
            for (auto& point : levels.back())
                point[0] += shift * l;
        }
        double area = 0;
        for (int k = 0; k < 1000; ++k)
            area += (k % 2 == 0 ? 2 : 4) / 3.0 * std::hypot(1, shift * std::cos(2 * pi * k / 1000));
        area *= 5 * 2 * 2 * pi / 1000;
        for (const int method : {1, 2, 4}) {
            using Tiling = CurveStackTriangulation<double>;
            const Tiling tiling(stackOf<double>(levels), method, Tiling::Placement::Centred);
            EXPECT_NEAR(tiling.getTriMesh().area() / area, 1, 0.001) << "shift " << shift << ", method " << method;
            EXPECT_EQ(tiling.getTriMesh()[200][0], 2 * std::cos(0.3) + shift) << "the mesh stays where it is";
        }
    }
}

TEST(CurveStackTriangulation, everyBandIsWatertightOnRandomContours) {
    std::mt19937 random(7);
    for (int round = 0; round < 40; ++round) {
        std::vector<Points> levels;
        int numVertices = 0;
        const int numLevels = 2 + int(random() % 4);
        for (int l = 0; l < numLevels; ++l) {
            const int n = 3 + int(random() % 30);
            Points points = circle(n, 1, double(random() % 100));
            for (auto& point : points) {
                const double factor = 1 + double(random() % 1000) / 1000;
                point[0] *= factor;
                point[1] *= factor;
            }
            levels.push_back(points);
            numVertices += n;
        }
        const int first = int(levels.front().size()), last = int(levels.back().size());
        for (int method : {1, 2, 4}) {
            CurveStackTriangulation<double> tiling(stackOf<double>(levels), method);
            EXPECT_EQ(tiling.getTriMesh().getNumTriangles(), 2 * numVertices - first - last);
            expectWatertightWall(tiling.getTriMesh(), first, last);
        }
    }
}

TEST(CurveStackTriangulation, theLeastAreaMethodTurnsItsTrianglesTheOtherWay) {
    const auto outwards = [](const TriMesh<double>& mesh) {
        double flux = 0;
        for (int t = 0; t < int(mesh.getNumTriangles()); ++t) {
            const Vector<unsigned int>& c = mesh.getTriangleIndexes(unsigned(t));
            const Vector<double>&a = mesh[int(c[0])], &b = mesh[int(c[1])], &d = mesh[int(c[2])];
            flux += a[0] * ((b[1] - a[1]) * (d[2] - a[2]) - (b[2] - a[2]) * (d[1] - a[1])) +
                    a[1] * ((b[2] - a[2]) * (d[0] - a[0]) - (b[0] - a[0]) * (d[2] - a[2]));
        }
        return flux;
    };
    const CurveStack<double> stack = stackOf<double>({circle(12, 1), circle(9, 2)});
    const double greedy = outwards(CurveStackTriangulation<double>(stack, 2).getTriMesh());
    const double optimal = outwards(CurveStackTriangulation<double>(stack, 4).getTriMesh());
    EXPECT_LT(greedy * optimal, 0);
}

// Every tiling of a band is a staircase of the table of both contours; all are tried on small contours.
TEST(CurveStackTriangulation, theLeastAreaIsThatOfAnExhaustiveSearch) {
    std::mt19937 random(3);
    const auto coordinate = [&random] { return double(random() % 1000) / 100; };
    for (int round = 0; round < 20; ++round) {
        Points lower(4), upper(5);
        for (Points* points : {&lower, &upper})
            for (auto& point : *points)
                point = {coordinate(), coordinate()};
        const CurveStack<double> stack = stackOf<double>({lower, upper});

        int s = 0, t = 0;
        stack[1].closestPoints(stack[0], s, t);
        const auto vertex = [&](int level, int k) -> const Vector<double>& {
            const int n = level == 0 ? 4 : 5, start = level == 0 ? t : s;
            return stack[level][(start + k) % n];
        };
        const auto area = [](const Vector<double>& a, const Vector<double>& b, const Vector<double>& c) {
            const double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
            return 0.5 * std::hypot(u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]);
        };
        double least = 1e300;
        for (unsigned int path = 0; path < 1u << 9; ++path) {
            int i = 0, j = 0;
            double sum = 0;
            for (int step = 0; step < 9; ++step) {
                if (path >> step & 1) {
                    sum += area(vertex(1, i), vertex(1, i + 1), vertex(0, j));
                    ++i;
                } else {
                    sum += area(vertex(0, j), vertex(0, j + 1), vertex(1, i));
                    ++j;
                }
            }
            if (i == 5)
                least = std::min(least, sum);
        }
        EXPECT_NEAR(CurveStackTriangulation<double>(stack, 4).getTriMesh().area(), least, 1e-9);
    }
}

TEST(CurveStackTriangulation, manyVerticesAboveFewAreAllUsed) {
    for (int method : {1, 2, 4}) {
        CurveStackTriangulation<float> tiling(stackOf<float>({circle(4, 1), circle(40, 3)}), method);
        EXPECT_EQ(tiling.getTriMesh().getNumTriangles(), 44);
        std::set<int> used;
        for (int t = 0; t < 44; ++t)
            for (int number : corners(tiling.getTriMesh(), t))
                used.insert(number);
        EXPECT_EQ(used.size(), 44u);
    }
}

TEST(CurveStackTriangulation, openStacksAreTiledWithoutClosingWhateverTheMethod) {
    const Points three = {{0, 0}, {1, 0}, {2, 0}}, five = {{0, 0}, {0.5, 0}, {1, 0}, {1.5, 0}, {2, 0}};
    for (int method : {0, 1, 4}) {
        CurveStackTriangulation<double> tiling(stackOf<double>({three, five}, true), method);
        EXPECT_EQ(tiling.getTriMesh().getNumTriangles(), 6);
        EXPECT_NEAR(tiling.getTriMesh().area(), 2, 1e-12);
        // Position 0 is joined to position 0, and the last to the last.
        EXPECT_EQ(corners(tiling.getTriMesh(), 0)[0], 3);
        EXPECT_EQ(corners(tiling.getTriMesh(), 0)[1], 0);
    }
}

TEST(CurveStackTriangulation, tooFewLevelsAndUnknownMethodsGiveNoTriangles) {
    CurveStackTriangulation<double> single(stackOf<double>({unitSquare}), 2);
    EXPECT_EQ(single.getTriMesh().getNumVertices(), 0);
    EXPECT_FALSE(single.check(stackOf<double>({unitSquare})));

    ::testing::internal::CaptureStderr();
    CurveStackTriangulation<double> unknown(stackOf<double>({unitSquare, unitSquare}), 5);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "no such method\n");
    EXPECT_EQ(unknown.getTriMesh().getNumVertices(), 8);
    EXPECT_EQ(unknown.getTriMesh().getNumTriangles(), 0);
}

TEST(CurveStackTriangulation, flatBandsAndEmptyLevelsStayFinite) {
    // All vertices on one line: rounding must not make a square root of something below 0.
    const Points line = {{0, 0}, {0.1, 0.3}, {0.2, 0.6}, {0.3, 0.9}};
    CurveStackTriangulation<float> flat(stackOf<float>({line, line}), 4);
    EXPECT_EQ(flat.getTriMesh().getNumTriangles(), 8);
    EXPECT_TRUE(std::isfinite(flat.getTriMesh().area()));
    CurveStackTriangulation<double> gap(stackOf<double>({unitSquare, {}, unitSquare}), 2);
    EXPECT_EQ(gap.getTriMesh().getNumTriangles(), 0);
}

TEST(CurveStackTriangulation, theDumpNamesFacetsAndNormals) {
    const CurveStackTriangulation<double> tiling(stackOf<double>({unitSquare, unitSquare}), 2);
    std::ostringstream text;
    tiling.print("wall", text);
    EXPECT_EQ(text.str().rfind("wall\nNFacets: 8\nNormals:\n", 0), 0u) << text.str();
}

} // namespace vorlen
