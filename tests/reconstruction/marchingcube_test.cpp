#include "reconstruction/marchingcube.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "reconstruction/randomfields.h"

namespace vorlen {

namespace {

using Tables = MarchingCubesTables;
using Cube = MarchingCube<double>;

constexpr int position[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};

/// Sets of numbers that are joined one with another.
class Groups {
public:
    explicit Groups(int size) : __parent(std::size_t(size)) { std::iota(__parent.begin(), __parent.end(), 0); }
    int find(int n) {
        while (__parent[n] != n)
            n = __parent[n] = __parent[__parent[n]];
        return n;
    }
    void join(int a, int b) { __parent[find(a)] = find(b); }
    /// Which of the first 8 numbers hang together, as bits: pair (a, b) at 8 a + b.
    unsigned long long corners() {
        unsigned long long bits = 0;
        for (int a = 0; a < 8; ++a)
            for (int b = 0; b < 8; ++b)
                bits |= static_cast<unsigned long long>(find(a) == find(b)) << (8 * a + b);
        return bits;
    }

private:
    std::vector<int> __parent;
};

double trilinear(const Cube& cube, double x, double y, double z) {
    double sum = 0;
    for (int c = 0; c < 8; ++c)
        sum +=
            cube.values[c] * (position[c][0] ? x : 1 - x) * (position[c][1] ? y : 1 - y) * (position[c][2] ? z : 1 - z);
    return sum;
}

/// Which corners hang together within the cube, from samples on a grid. The field is linear from one sample to the
/// next, so that each step between two samples on one side of the level is a way on this side. The grid has lines
/// through the narrowest place of a tube: the height at which the two products of a section differ most, and its saddle
/// there.
unsigned long long connectionsBySampling(const Cube& cube) {
    std::vector<double> grid[3];
    for (std::vector<double>& axis : grid)
        for (int n = 0; n <= 6; ++n)
            axis.push_back(n / 6.0);
    const auto addLine = [&grid](int axis, double at) {
        if (at > 0 && at < 1)
            grid[axis].insert(std::upper_bound(grid[axis].begin(), grid[axis].end(), at), at);
    };
    // The lines through the saddle of the bilinear field over a square with these corners, in their order around it.
    const auto addSaddle = [&addLine](double p, double q, double r, double s, int axisPQ, int axisPS) {
        const double sum = p - q + r - s;
        addLine(axisPQ, (p - s) / sum);
        addLine(axisPS, (p - q) / sum);
    };
    const double* c = cube.values;
    addSaddle(c[0], c[1], c[2], c[3], 0, 1);
    addSaddle(c[4], c[5], c[6], c[7], 0, 1);
    addSaddle(c[0], c[1], c[5], c[4], 0, 2);
    addSaddle(c[3], c[2], c[6], c[7], 0, 2);
    addSaddle(c[0], c[3], c[7], c[4], 1, 2);
    addSaddle(c[1], c[2], c[6], c[5], 1, 2);
    const double a = (c[4] - c[0]) * (c[6] - c[2]) - (c[7] - c[3]) * (c[5] - c[1]);
    const double b = c[2] * (c[4] - c[0]) + c[0] * (c[6] - c[2]) - c[1] * (c[7] - c[3]) - c[3] * (c[5] - c[1]);
    const double t = -b / (2 * a);
    double s[4];
    for (int n = 0; n < 4; ++n)
        s[n] = c[n] + t * (c[n + 4] - c[n]);
    addSaddle(s[0], s[1], s[2], s[3], 0, 1);
    addLine(2, t);

    const int size[3] = {int(grid[0].size()), int(grid[1].size()), int(grid[2].size())};
    const auto number = [&](int i, int j, int k) { return 8 + (i * size[1] + j) * size[2] + k; };
    std::vector<bool> inside(8 + std::size_t(size[0]) * size[1] * size[2]);
    Groups groups(int(inside.size()));
    for (int i = 0; i < size[0]; ++i) {
        for (int j = 0; j < size[1]; ++j) {
            for (int k = 0; k < size[2]; ++k) {
                const int here = number(i, j, k);
                inside[here] = trilinear(cube, grid[0][i], grid[1][j], grid[2][k]) >= 0;
                if (i > 0 && inside[here] == inside[number(i - 1, j, k)])
                    groups.join(here, number(i - 1, j, k));
                if (j > 0 && inside[here] == inside[number(i, j - 1, k)])
                    groups.join(here, number(i, j - 1, k));
                if (k > 0 && inside[here] == inside[number(i, j, k - 1)])
                    groups.join(here, number(i, j, k - 1));
            }
        }
    }
    for (int n = 0; n < 8; ++n)
        groups.join(
            n, number(position[n][0] * (size[0] - 1), position[n][1] * (size[1] - 1), position[n][2] * (size[2] - 1)));
    return groups.corners();
}

/// Which corners the tiling leaves on one side: those along edges without a vertex, across the joined faces, and at
/// both ends of a tube. Corners that a tiling's triangle separates from the others stand alone.
unsigned long long connectionsByTiling(const Cube& cube) {
    Groups groups(8);
    for (const auto& ends : Tables::edgeEnds)
        if ((cube.values[ends[0]] >= 0) == (cube.values[ends[1]] >= 0))
            groups.join(ends[0], ends[1]);
    for (int face = 1; face <= 6; ++face) {
        const auto& c = Tables::faceCorners[face - 1];
        const bool even = cube.values[c[0]] >= 0, odd = cube.values[c[1]] >= 0;
        if (even == odd || even != (cube.values[c[2]] >= 0) || odd != (cube.values[c[3]] >= 0))
            continue;
        const bool evenJoined = cube.testFace(face) == even;
        groups.join(c[evenJoined ? 0 : 1], c[evenJoined ? 2 : 3]);
    }
    // A tube joins the two parts of the inside, or of the outside, that are left.
    using enum TilingTable;
    const TilingTable table = cube.tiling(Tables::instance()).table;
    const bool mostInside = std::popcount(unsigned(cube.code())) > 4;
    const bool insideTube = table == Tiling10_1_2 || table == Tiling12_1_2 || table == Tiling13_5_2 ||
                            ((table == Tiling4_2 || table == Tiling6_1_2) && !mostInside) ||
                            (table == Tiling7_4_2 && mostInside);
    const bool outsideTube = table == Tiling10_1_2_ || table == Tiling12_1_2_ || table == Tiling13_5_2_ ||
                             ((table == Tiling4_2 || table == Tiling6_1_2) && mostInside) ||
                             (table == Tiling7_4_2 && !mostInside);
    for (int p = 0; p < 8; ++p)
        for (int q = 0; q < p; ++q)
            if ((cube.values[p] >= 0 && cube.values[q] >= 0 && insideTube) ||
                (cube.values[p] < 0 && cube.values[q] < 0 && outsideTube))
                groups.join(p, q);
    return groups.corners();
}

} // namespace

TEST(MarchingCube, facesJoinTheirInsideCornersWhenTheseHaveTheGreaterProduct) {
    Cube cube = {{2, -1, 2, -1, -1, -1, -1, -1}}; // face 5 has corners 0, 3, 2, 1
    EXPECT_TRUE(cube.testFace(5));
    EXPECT_FALSE(cube.testFace(-5));
    cube.values[1] = cube.values[3] = -3;
    EXPECT_FALSE(cube.testFace(5));
    EXPECT_TRUE(cube.testFace(-5));
    // The same with inside and outside exchanged: what is asked for is still the inside corners.
    cube = {{-2, 1, -2, 1, 1, 1, 1, 1}};
    EXPECT_FALSE(cube.testFace(5));
    cube.values[1] = cube.values[3] = 3;
    EXPECT_TRUE(cube.testFace(5));
    // Equal products: joined. A corner on the level has product 0: separated.
    cube = {{1, -1, 1, -1, 0, 0, 0, 0}};
    EXPECT_TRUE(cube.testFace(5));
    EXPECT_FALSE(cube.testFace(-5));
    for (int corner : {0, 2}) {
        cube = {{1, -1, 1, -1, 0, 0, 0, 0}};
        cube.values[corner] = 0;
        EXPECT_FALSE(cube.testFace(5));
        EXPECT_TRUE(cube.testFace(-5));
    }
}

TEST(MarchingCube, bothCubesAtAFaceDecideAlikeForAllValues) {
    // Opposite faces, and the corner of the second cube that is the one of the first.
    constexpr int faces[3][2] = {{3, 1}, {2, 4}, {6, 5}};
    std::mt19937 random(7);
    const double extremes[] = {0.0,
                               -0.0,
                               1e-200,
                               1e-8,
                               3e-4,
                               1.0,
                               1e200,
                               std::numeric_limits<double>::max(),
                               std::numeric_limits<double>::infinity()};
    int degenerate = 0;
    for (int n = 0; n < 100000; ++n) {
        const auto& pair = faces[n % 3];
        const int axis = n % 3 == 0 ? 1 : n % 3 == 1 ? 0 : 2;
        Cube lower = {}, upper = {};
        const auto& around = Tables::faceCorners[pair[0] - 1];
        for (int m = 0; m < 4; ++m) {
            const int c = around[m];
            double magnitude =
                random() % 2 == 0 ? extremes[random() % std::size(extremes)] : double(random() % 100) / 99.0;
            if (m % 2 == 1 && magnitude == 0)
                magnitude = 1; // 0 is an inside value
            lower.values[c] = m % 2 == 0 ? magnitude : -magnitude;
            for (int other = 0; other < 8; ++other) {
                bool same = true;
                for (int k = 0; k < 3; ++k)
                    same = same && position[other][k] == (k == axis ? 0 : position[c][k]);
                if (same)
                    upper.values[other] = lower.values[c];
            }
        }
        ASSERT_EQ(lower.testFace(pair[0]), upper.testFace(pair[1])) << n;
        ASSERT_NE(lower.testFace(pair[0]), lower.testFace(-pair[0])) << n;
        const double w =
            lower.values[around[0]] * lower.values[around[2]] - lower.values[around[1]] * lower.values[around[3]];
        degenerate += !(std::abs(w) >= Cube::limit);
    }
    EXPECT_GT(degenerate, 1000);
}

TEST(MarchingCube, aNumberThatIsNoFaceIsTold) {
    testing::internal::CaptureStdout();
    EXPECT_TRUE(Cube{}.testFace('A'));
    EXPECT_FALSE(Cube{}.testFace(-7));
    EXPECT_EQ(std::string("Invalid face code A\nInvalid face code ") + char(-7) + "\n",
              testing::internal::GetCapturedStdout());
}

TEST(MarchingCube, oppositeCornersAreJoinedByATubeWhenTheOthersAreNearTheLevel) {
    using enum TilingTable;
    const auto tableOf = [](Cube cube) { return cube.tiling(Tables::instance()).table; };
    EXPECT_EQ(Tiling4_1, tableOf({{1, -1, -1, -1, -1, -1, 1, -1}}));
    EXPECT_EQ(Tiling4_2, tableOf({{9, -1, -1, -1, -1, -1, 9, -1}}));
    EXPECT_EQ(Tiling4_2, tableOf({{-9, 1, 1, 1, 1, 1, -9, 1}}));
    EXPECT_EQ(Tiling4_1, tableOf({{-1, 9, 9, 9, 9, 9, -1, 9}}));
}

// The parts of the inside and of the outside within a cube are those of the trilinear field through its corners, in
// every sub-case.
TEST(MarchingCube, tilingsConnectTheCornersAsTheTrilinearFieldDoes) {
    std::mt19937 random(3);
    std::map<TilingTable, int> met;
    for (int n = 0; n < 60000; ++n) {
        Cube cube;
        randomField(random, n % 3 == 0 ? FieldKind::Checkerboard : FieldKind::Diagonal, cube.values);
        if (n % 3 == 1) { // the rarest
            int code = 0;
            while (Tables::cases[code][0] != 10 && Tables::cases[code][0] != 13)
                code = int(random() % 256);
            for (int c = 0; c < 8; ++c)
                cube.values[c] = std::copysign(cube.values[c], (code >> c & 1) != 0 ? 1.0 : -1.0);
        }
        // Ties and products below the limit count as joined, whatever the field does.
        bool decided = cube.code() != 0 && cube.code() != 255;
        for (int face = 0; face < 6; ++face) {
            const auto& c = Tables::faceCorners[face];
            decided = decided &&
                      std::abs(cube.values[c[0]] * cube.values[c[2]] - cube.values[c[1]] * cube.values[c[3]]) > 1e-6;
        }
        if (!decided)
            continue;
        ++met[cube.tiling(Tables::instance()).table];
        ASSERT_EQ(connectionsBySampling(cube), connectionsByTiling(cube)) << n << " code " << cube.code();
    }
    using enum TilingTable;
    for (TilingTable table : {Tiling4_1, Tiling4_2, Tiling6_1_1, Tiling6_1_2, Tiling7_4_1, Tiling7_4_2, Tiling10_1_1,
                              Tiling10_1_1_, Tiling10_1_2, Tiling10_1_2_, Tiling12_1_1, Tiling12_1_1_, Tiling12_1_2,
                              Tiling12_1_2_, Tiling13_5_1, Tiling13_5_2, Tiling13_5_2_})
        EXPECT_GE(met[table], 3) << int(table);
}

} // namespace vorlen
