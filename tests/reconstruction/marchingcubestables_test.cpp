#include "reconstruction/marchingcubestables.h"

#include <algorithm>
#include <array>
#include <bit>
#include <map>
#include <numeric>
#include <set>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

using Tables = MarchingCubesTables;
using Code = Tables::Code;
using Tiling = CubeTiling<const Code>;

const Tables& tables = Tables::instance();

constexpr int position[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};

bool isInside(int code, int corner) {
    return (code >> corner & 1) != 0;
}

/// The corners of the face, counter-clockwise as seen from outside of the cube.
std::array<int, 4> cornersAround(int face) {
    std::array<int, 4> corners;
    std::copy_n(Tables::faceCorners[face - 1], 4, corners.begin());
    int u[3], v[3], away[3];
    for (int n = 0; n < 3; ++n) {
        u[n] = position[corners[1]][n] - position[corners[0]][n];
        v[n] = position[corners[2]][n] - position[corners[1]][n];
        away[n] = position[corners[0]][n] + position[corners[2]][n] - 1; // twice the way from the cube's centre
    }
    const int turn = (u[1] * v[2] - u[2] * v[1]) * away[0] + (u[2] * v[0] - u[0] * v[2]) * away[1] +
                     (u[0] * v[1] - u[1] * v[0]) * away[2];
    if (turn < 0)
        std::swap(corners[1], corners[3]);
    return corners;
}

int edgeBetween(int a, int b) {
    for (int e = 0; e < 12; ++e)
        if (std::minmax(a, b) == std::minmax<int>(Tables::edgeEnds[e][0], Tables::edgeEnds[e][1]))
            return e;
    ADD_FAILURE() << "no edge " << a << ' ' << b;
    return 0;
}

bool isAmbiguous(int code, int face) {
    const std::array<int, 4> c = cornersAround(face);
    return isInside(code, c[0]) == isInside(code, c[2]) && isInside(code, c[1]) == isInside(code, c[3]) &&
           isInside(code, c[0]) != isInside(code, c[1]);
}

using DirectedEdge = std::pair<int, int>;

/// The lines of the surface on the faces, directed as the triangles' borders, drawn from the corners alone: around a
/// face, a line goes from an edge that leaves the inside to the next one that enters it if the inside corners are
/// joined, and to the one before it else.
std::set<DirectedEdge> linesOnFaces(int code, int joinedFaces) {
    std::set<DirectedEdge> lines;
    for (int face = 1; face <= 6; ++face) {
        const std::array<int, 4> c = cornersAround(face);
        std::vector<std::pair<int, bool>> crossings; // edge, and whether it leaves the inside
        for (int n = 0; n < 4; ++n)
            if (isInside(code, c[n]) != isInside(code, c[(n + 1) % 4]))
                crossings.push_back({edgeBetween(c[n], c[(n + 1) % 4]), isInside(code, c[n])});
        const int size = int(crossings.size());
        const int step = size == 2 || (joinedFaces >> face & 1) ? 1 : size - 1;
        for (int n = 0; n < size; ++n)
            if (crossings[n].second)
                lines.insert({crossings[n].first, crossings[(n + step) % size].first});
    }
    return lines;
}

std::set<int> facesOf(int edge) {
    std::set<int> faces;
    for (int face = 1; face <= 6; ++face) {
        const std::array<int, 4> c = cornersAround(face);
        for (int n = 0; n < 4; ++n)
            if (edgeBetween(c[n], c[(n + 1) % 4]) == edge)
                faces.insert(face);
    }
    return faces;
}

/// Whether an edge of a tube between two vertices on this face is its permitted middle line.
bool isPermitted(int code, int joinedFaces, int face, int a, int b) {
    const std::array<int, 4> c = cornersAround(face);
    const bool joined = (joinedFaces >> face & 1) != 0;
    std::set<int> permitted;
    for (int n = 0; n < 4; ++n)
        if (isInside(code, c[n]) == joined)
            permitted.insert(edgeBetween(c[n], c[(n + 1) % 4]));
    return isAmbiguous(code, face) && permitted == std::set<int>{a, b};
}

bool isTube(TilingTable table) {
    using enum TilingTable;
    return table == Tiling4_2 || table == Tiling6_1_2 || table == Tiling7_4_2 || table == Tiling10_1_2 ||
           table == Tiling10_1_2_ || table == Tiling12_1_2 || table == Tiling12_1_2_ || table == Tiling13_5_2 ||
           table == Tiling13_5_2_;
}

enum class Tube { None, Inside, Outside };

/// The tiling for these joined faces, with the tube where there is one.
Tiling tilingFor(int code, int joinedFaces, Tube tube) {
    return tables.tiling(
        code, [joinedFaces](int face) { return ((joinedFaces >> std::abs(face) & 1) != 0) == (face > 0); },
        [tube](bool inside, int) { return tube == (inside ? Tube::Inside : Tube::Outside); });
}

/// Calls operation(code, joined faces, tube, tiling) for all cube codes that have a surface, all answers about their
/// faces, and both answers about their interior.
template <class Operation>
void forEachTiling(Operation operation) {
    for (int code = 1; code < 255; ++code) {
        int ambiguous = 0;
        for (int face = 1; face <= 6; ++face)
            ambiguous |= isAmbiguous(code, face) ? 1 << face : 0;
        for (int joined = 0; joined < 128; ++joined) {
            if ((joined & ~ambiguous) != 0)
                continue;
            for (Tube tube : {Tube::None, Tube::Inside, Tube::Outside}) {
                SCOPED_TRACE(testing::Message() << "code " << code << " joined " << joined << " tube " << int(tube));
                operation(code, joined, tube, tilingFor(code, joined, tube));
            }
        }
    }
}

std::vector<DirectedEdge> edgesOf(const Tiling& tiling) {
    std::vector<DirectedEdge> edges;
    for (int n = 0; n < 3 * tiling.numTriangles; n += 3)
        for (int k = 0; k < 3; ++k)
            edges.push_back({tiling.row[n + k], tiling.row[n + (k + 1) % 3]});
    return edges;
}

} // namespace

TEST(MarchingCubesTables, eachCodeWithASurfaceIsOneCaseWithOneConfig) {
    const std::map<int, int> configs = {{1, 16}, {2, 24}, {3, 24}, {4, 8},   {5, 48},  {6, 48}, {7, 16},
                                        {8, 6},  {9, 8},  {10, 6}, {11, 12}, {12, 24}, {13, 2}, {14, 12}};
    std::map<int, std::set<int>> found;
    for (int code = 1; code < 255; ++code)
        EXPECT_TRUE(found[Tables::cases[code][0]].insert(Tables::cases[code][1]).second) << code;
    for (const auto& [number, size] : configs) {
        ASSERT_EQ(size, int(found[number].size()));
        EXPECT_EQ(0, *found[number].begin());
        EXPECT_EQ(size - 1, *found[number].rbegin());
    }
    EXPECT_EQ(configs.size(), found.size());
    for (int code : {0, 255}) {
        EXPECT_EQ(0, Tables::cases[code][0]);
        EXPECT_EQ(-1, Tables::cases[code][1]);
    }
}

// A test left out, or one of a face without need, would show here; so would a wrong sign, which asks the opposite for
// the cubes that have inside and outside exchanged.
TEST(MarchingCubesTables, allAmbiguousFacesAreTestedAndNoOthers) {
    for (int code = 1; code < 255; ++code) {
        std::set<int> ambiguous, tested;
        for (int face = 1; face <= 6; ++face)
            if (isAmbiguous(code, face))
                ambiguous.insert(face);
        const bool exchanged = std::popcount(unsigned(code)) > 4;
        for (int answers = 0; answers < 64; ++answers)
            tables.tiling(
                code,
                [&](int face) {
                    tested.insert(std::abs(face));
                    EXPECT_EQ(exchanged, face < 0) << code;
                    return (answers >> (std::abs(face) - 1) & 1) != 0;
                },
                [&](bool, int edge) {
                    if (edge != Tables::anyEdge) {
                        EXPECT_NE(isInside(code, Tables::edgeEnds[edge][0]), isInside(code, Tables::edgeEnds[edge][1]));
                    }
                    return false;
                });
        EXPECT_EQ(ambiguous, tested) << code;
    }
}

// Faces 1 and 3, 2 and 4, 5 and 6 lie opposite. With p the product of the inside values and n that of the outside ones,
// both opposite faces joined mean p > n, both separated n > p: answers that have one pair joined and another separated
// exclude each other.
TEST(MarchingCubesTables, theSubCasesOfCase13AreTheAnswersThatDoNotExcludeEachOther) {
    std::set<int> subCases;
    for (int bits = 0; bits < 64; ++bits) {
        bool anyJoined = false, anySeparated = false;
        for (int pair : {0b000101, 0b001010, 0b110000}) {
            anyJoined = anyJoined || (bits & pair) == pair;
            anySeparated = anySeparated || (bits & pair) == 0;
        }
        EXPECT_EQ(anyJoined && anySeparated, Tables::subconfig13[bits] == -1) << bits;
        if (Tables::subconfig13[bits] >= 0) {
            EXPECT_TRUE(subCases.insert(Tables::subconfig13[bits]).second) << bits;
        }
    }
    EXPECT_EQ(46u, subCases.size());
    EXPECT_EQ(45, *subCases.rbegin());
}

TEST(MarchingCubesTables, printedRowsKeepTheirOrder) {
    const auto expectRow = [](const std::vector<int>& expected, const Code* row) {
        EXPECT_EQ(expected, std::vector<int>(row, row + expected.size()));
    };
    expectRow({0, 8, 3}, tables.tiling1[0]);
    expectRow({0, 1, 9}, tables.tiling1[1]);
    expectRow({1, 2, 10}, tables.tiling1[2]);
    expectRow({3, 11, 2}, tables.tiling1[3]);
    expectRow({1, 8, 3, 9, 8, 1}, tables.tiling2[0]);
    expectRow({0, 11, 2, 8, 11, 0}, tables.tiling2[1]);
    expectRow({9, 8, 10, 10, 8, 11}, tables.tiling8[0]);
    expectRow({1, 5, 3, 3, 5, 7}, tables.tiling8[1]);
    expectRow({11, 7, 6, 1, 2, 10, 8, 3, 0, 9, 5, 4}, tables.tiling13_1[0]);
    expectRow({8, 4, 7, 2, 3, 11, 9, 0, 1, 10, 6, 5}, tables.tiling13_1[1]);
}

TEST(MarchingCubesTables, noRowIsEmptyAndNoneBelongsToTwoCubes) {
    std::map<const Code*, std::pair<int, int>> cubes;
    std::map<TilingTable, std::set<const Code*>> rows;
    forEachTiling([&](int code, int joined, Tube, const Tiling& tiling) {
        const auto cube = std::make_pair(code, joined);
        EXPECT_EQ(cube, cubes.emplace(tiling.row, cube).first->second);
        rows[tiling.table].insert(tiling.row);
        for (int n = 0; n < 3 * tiling.numTriangles; n += 3) {
            const std::set<int> corners(tiling.row + n, tiling.row + n + 3);
            EXPECT_EQ(3u, corners.size());
        }
    });
    using enum TilingTable;
    EXPECT_EQ(42u, rows.size());
    EXPECT_EQ(48u, rows[Tiling7_2].size());
    EXPECT_EQ(48u, rows[Tiling7_3].size());
    EXPECT_EQ(24u, rows[Tiling13_3_].size());
    EXPECT_EQ(8u, rows[Tiling13_5_1].size());
    EXPECT_EQ(8u, rows[Tiling13_5_2].size());
    EXPECT_EQ(8u, rows[Tiling13_5_2_].size());
    EXPECT_EQ(36u, rows[Tiling13_x].size());
}

// What makes neighbouring cubes fit: the border of each tiling is given by the faces alone, it is directed alike in all
// cubes, and nothing else lies on a face where the neighbour could have it too.
TEST(MarchingCubesTables, eachTilingEndsOnTheLinesOfItsFacesAndHasNoOtherEdgeThere) {
    forEachTiling([](int code, int joined, Tube, const Tiling& tiling) {
        const std::set<DirectedEdge> lines = linesOnFaces(code, joined);
        const std::vector<DirectedEdge> all = edgesOf(tiling);
        const std::set<DirectedEdge> edges(all.begin(), all.end());
        EXPECT_EQ(all.size(), edges.size()) << "an edge is used twice in one direction";
        for (const DirectedEdge& line : lines)
            EXPECT_TRUE(edges.count(line) == 1 && edges.count({line.second, line.first}) == 0);
        for (const auto& [a, b] : edges) {
            if (lines.count({a, b}) != 0)
                continue;
            EXPECT_EQ(1u, edges.count({b, a})) << "the inner edge " << a << ' ' << b << " has one side";
            if (a == Tables::innerVertex || b == Tables::innerVertex)
                continue;
            for (int face : facesOf(a)) {
                if (facesOf(b).count(face) != 0) {
                    EXPECT_TRUE(isTube(tiling.table) && isPermitted(code, joined, face, a, b))
                        << "the edge " << a << ' ' << b << " crosses face " << face;
                }
            }
        }
    });
}

// Discs have Euler characteristic 1, and a tube has 0. A vertex occurs on one disc or tube and once on its border.
TEST(MarchingCubesTables, eachTilingIsOneDiscForEachClosedLineOrJoinsTwoByATube) {
    forEachTiling([](int code, int joined, Tube, const Tiling& tiling) {
        const std::set<DirectedEdge> lines = linesOnFaces(code, joined);
        std::map<int, int> next(lines.begin(), lines.end());
        ASSERT_EQ(lines.size(), next.size());
        int closedLines = 0;
        while (!next.empty()) {
            ++closedLines;
            for (auto at = next.begin(); at != next.end();) {
                const int vertex = at->second;
                next.erase(at);
                at = next.find(vertex);
            }
        }
        std::set<int> vertices;
        std::set<DirectedEdge> edges;
        for (const auto& [a, b] : edgesOf(tiling)) {
            vertices.insert(a);
            edges.insert(std::minmax(a, b));
        }
        const int euler = int(vertices.size()) - int(edges.size()) + tiling.numTriangles;
        EXPECT_EQ(isTube(tiling.table) ? closedLines - 2 : closedLines, euler);
        EXPECT_EQ(tiling.hasInnerVertex(), vertices.count(Tables::innerVertex) == 1);
        EXPECT_EQ(lines.size() + (tiling.hasInnerVertex() ? 1 : 0), vertices.size());
    });
}

} // namespace vorlen
