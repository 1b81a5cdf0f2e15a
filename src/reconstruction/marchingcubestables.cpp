#include "reconstruction/marchingcubestables.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>

namespace vorlen {

using Code = MarchingCubesTables::Code;

namespace {

constexpr int innerVertex = MarchingCubesTables::innerVertex;

/// How the closed lines on the cube's faces are filled: each by a disc or around the inner vertex, or two of them by a
/// tube through which inside or outside corners are joined.
enum Filling { Discs, InsideTube, OutsideTube };

/// One row of a tiling table, for the cube whose inside corners are given.
struct BaseTiling {
    std::initializer_list<int> insideCorners;
    /// The ambiguous faces on which the inside corners are joined.
    std::initializer_list<int> joinedFaces;
    Filling filling;
    std::initializer_list<int> row;
};

/// One row for each sub-case; all others are images of these. Rows with code 12 join one closed line to
/// the inner vertex. Where several rows of a table stand here, each keeps the order of its vertices.
const BaseTiling baseTilings[] = {
    // 1
    {{0}, {}, Discs, {0, 8, 3}},
    {{1}, {}, Discs, {0, 1, 9}},
    {{2}, {}, Discs, {1, 2, 10}},
    {{3}, {}, Discs, {3, 11, 2}},
    // 2
    {{0, 1}, {}, Discs, {1, 8, 3, 9, 8, 1}},
    {{0, 3}, {}, Discs, {0, 11, 2, 8, 11, 0}},
    // 3.1
    {{0, 2}, {}, Discs, {0, 8, 3, 1, 2, 10}},
    // 3.2
    {{0, 2}, {5}, Discs, {0, 8, 1, 1, 8, 10, 2, 10, 8, 2, 8, 3}},
    // 4.1
    {{0, 6}, {}, Discs, {0, 8, 3, 5, 10, 6}},
    // 4.2
    {{0, 6}, {}, InsideTube, {0, 5, 10, 0, 8, 5, 0, 10, 3, 3, 6, 8, 3, 10, 6, 5, 8, 6}},
    // 5
    {{0, 1, 2}, {}, Discs, {2, 9, 3, 2, 10, 9, 3, 9, 8}},
    // 6.1.1
    {{0, 1, 6}, {}, Discs, {1, 8, 3, 1, 9, 8, 5, 10, 6}},
    // 6.1.2
    {{0, 1, 6}, {}, InsideTube, {1, 6, 3, 1, 9, 6, 3, 5, 8, 3, 6, 5, 5, 10, 8, 6, 8, 10, 6, 9, 8}},
    // 6.2
    {{0, 1, 6}, {2}, Discs, {1, 10, 3, 3, 10, 6, 3, 6, 8, 5, 8, 6, 5, 9, 8}},
    // 7.1
    {{0, 2, 5}, {}, Discs, {0, 8, 3, 1, 2, 10, 4, 9, 5}},
    // 7.2
    {{0, 2, 5}, {1}, Discs, {0, 5, 3, 0, 9, 5, 3, 5, 4, 3, 4, 8, 1, 2, 10}},
    // 7.3
    {{0, 2, 5}, {1, 2}, Discs, {0,  9, 12, 9,  1, 12, 1,  2, 12, 2,  10, 12, 10, 5,
                                12, 5, 4,  12, 4, 8,  12, 8, 3,  12, 3,  0,  12}},
    // 7.4.1
    {{0, 2, 5}, {1, 2, 5}, Discs, {0, 9, 1, 2, 8, 3, 2, 5, 8, 2, 10, 5, 4, 8, 5}},
    // 7.4.2
    {{0, 2, 5}, {1, 2, 5}, OutsideTube, {0, 4, 1, 0, 5, 4, 0, 9, 10, 0, 10, 5,  1, 3,
                                         9, 1, 4, 8, 1, 8, 3, 2, 9,  3, 2,  10, 9}},
    // 8
    {{0, 1, 2, 3}, {}, Discs, {9, 8, 10, 10, 8, 11}},
    {{0, 1, 4, 5}, {}, Discs, {1, 5, 3, 3, 5, 7}},
    // 9
    {{0, 1, 2, 5}, {}, Discs, {2, 8, 3, 2, 5, 8, 2, 10, 5, 4, 8, 5}},
    // 10.1.1
    {{0, 1, 6, 7}, {}, Discs, {1, 8, 3, 1, 9, 8, 5, 10, 7, 7, 10, 11}},
    // 10.1.1_
    {{0, 1, 6, 7}, {2, 4}, Discs, {1, 10, 3, 3, 10, 11, 5, 8, 7, 5, 9, 8}},
    // 10.1.2
    {{0, 1, 6, 7}, {}, InsideTube, {1, 7, 3, 1, 9, 7, 3, 5, 8, 3, 7, 5, 5, 10, 8, 7, 9, 11, 8, 10, 9, 9, 10, 11}},
    // 10.2
    {{0, 1, 6, 7}, {2}, Discs, {1, 10, 12, 10, 11, 12, 11, 7, 12, 7, 5, 12, 5, 9, 12, 9, 8, 12, 8, 3, 12, 3, 1, 12}},
    // 10.2_
    {{0, 1, 6, 7}, {4}, Discs, {1, 9, 12, 9, 8, 12, 8, 7, 12, 7, 5, 12, 5, 10, 12, 10, 11, 12, 11, 3, 12, 3, 1, 12}},
    // 11
    {{0, 1, 2, 4}, {}, Discs, {2, 7, 3, 2, 10, 7, 4, 7, 10, 4, 10, 9}},
    // 12.1.1
    {{0, 1, 2, 7}, {}, Discs, {2, 9, 3, 2, 10, 9, 3, 9, 8, 6, 11, 7}},
    // 12.1.1_
    {{0, 1, 2, 7}, {3, 4}, Discs, {2, 11, 3, 6, 9, 7, 6, 10, 9, 7, 9, 8}},
    // 12.1.2
    {{0, 1, 2, 7}, {}, InsideTube, {2, 7, 3, 2, 10, 7, 3, 6, 8, 3, 7, 6, 6, 9, 8, 6, 11, 9, 7, 9, 11, 7, 10, 9}},
    // 12.2
    {{0, 1, 2, 7}, {4}, Discs, {2, 10, 12, 10, 9, 12, 9, 8, 12, 8, 7, 12, 7, 6, 12, 6, 11, 12, 11, 3, 12, 3, 2, 12}},
    // 12.2_
    {{0, 1, 2, 7}, {3}, Discs, {2, 11, 12, 11, 7, 12, 7, 6, 12, 6, 10, 12, 10, 9, 12, 9, 8, 12, 8, 3, 12, 3, 2, 12}},
    // 13.1
    {{0, 2, 5, 7}, {}, Discs, {11, 7, 6, 1, 2, 10, 8, 3, 0, 9, 5, 4}},
    {{1, 3, 4, 6}, {}, Discs, {8, 4, 7, 2, 3, 11, 9, 0, 1, 10, 6, 5}},
    // 13.2
    {{0, 2, 5, 7}, {1}, Discs, {0, 5, 3, 0, 9, 5, 3, 5, 4, 3, 4, 8, 1, 2, 10, 6, 11, 7}},
    // 13.3
    {{0, 2, 5, 7}, {1, 2}, Discs, {0, 9, 12, 9, 1, 12, 1, 2, 12, 2, 10, 12, 10, 5,  12,
                                   5, 4, 12, 4, 8, 12, 8, 3, 12, 3, 0,  12, 6,  11, 7}},
    // 13.4
    {{0, 2, 5, 7}, {1, 2, 6}, Discs, {0, 9,  12, 9,  1, 12, 1, 2, 12, 2, 10, 12, 10, 5, 12, 5, 6, 12,
                                      6, 11, 12, 11, 7, 12, 7, 4, 12, 4, 8,  12, 8,  3, 12, 3, 0, 12}},
    // 13.5.1
    {{0, 2, 5, 7}, {1, 2, 5}, Discs, {7, 6, 11, 0, 9, 1, 2, 8, 3, 2, 5, 8, 2, 10, 5, 4, 8, 5}},
    // 13.5.2
    {{0, 2, 5, 7}, {1, 2, 5}, InsideTube, {0, 9, 1,  2, 7, 3, 2, 10, 7, 3, 6,  8,  3, 7,  6,
                                           4, 6, 11, 4, 8, 6, 4, 11, 5, 5, 11, 10, 7, 10, 11}},
    // 13 with answers that exclude each other; the last two are mirror images of each other's cubes
    {{0, 2, 5, 7}, {1, 3}, Discs, {0, 5, 3, 0, 9, 5, 3, 5, 4, 3, 4, 8, 1, 6, 10, 1, 7, 6, 1, 2, 7, 2, 11, 7}},
    {{0, 2, 5, 7}, {1, 3, 5}, Discs, {0, 10, 1, 0, 7, 10, 0, 11, 7, 0, 5, 11, 0, 9,  5,
                                      2, 11, 5, 2, 5, 8,  4, 8,  5, 2, 8, 3,  6, 10, 7}},
    {{0, 2, 5, 7}, {1, 2, 3}, Discs, {0, 10, 3, 0, 7,  10, 0, 9,  7, 2, 7,  9, 1, 2, 9,
                                      2, 11, 7, 6, 10, 7,  3, 10, 4, 4, 10, 5, 3, 4, 8}},
    // 14
    {{0, 1, 2, 6}, {}, Discs, {2, 9, 3, 2, 5, 9, 2, 6, 5, 3, 9, 8}},
};

/// Whether the cube of this code has corner c inside.
bool isInside(int code, int c) {
    return (code >> c & 1) != 0;
}

int edgeBetween(int a, int b) {
    for (int edge = 0; edge < 12; ++edge) {
        const Code* ends = MarchingCubesTables::edgeEnds[edge];
        if ((ends[0] == a && ends[1] == b) || (ends[0] == b && ends[1] == a))
            return edge;
    }
    return -1;
}

/// The face that has all these corners, given as bits.
int faceOf(int corners) {
    for (int face = 1; face <= 6; ++face) {
        int bits = 0;
        for (int c : MarchingCubesTables::faceCorners[face - 1])
            bits |= 1 << c;
        if (bits == corners)
            return face;
    }
    return 0;
}

/// Whether the four corners of the face are inside and outside by turns.
bool isAmbiguous(int code, int face) {
    const Code* c = MarchingCubesTables::faceCorners[face - 1];
    return isInside(code, c[0]) == isInside(code, c[2]) && isInside(code, c[1]) == isInside(code, c[3]) &&
           isInside(code, c[0]) != isInside(code, c[1]);
}

/// A rotation of the cube, by what becomes of its corners, edges and faces.
struct Rotation {
    std::array<int, 8> corner;
    std::array<int, 13> edge;
    std::array<int, 7> face;

    /// Coordinate n of the image is coordinate axes[n], mirrored if flips has bit n.
    Rotation(const std::array<int, 3>& axes, int flips) {
        static constexpr int position[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                               {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
        for (int c = 0; c < 8; ++c) {
            for (int image = 0; image < 8; ++image) {
                bool same = true;
                for (int n = 0; n < 3; ++n)
                    same = same && position[image][n] == (position[c][axes[n]] ^ (flips >> n & 1));
                if (same)
                    corner[c] = image;
            }
        }
        for (int e = 0; e < 12; ++e) {
            const Code* ends = MarchingCubesTables::edgeEnds[e];
            edge[e] = edgeBetween(corner[ends[0]], corner[ends[1]]);
        }
        edge[innerVertex] = innerVertex;
        face[0] = 0;
        for (int f = 1; f <= 6; ++f) {
            int bits = 0;
            for (int c : MarchingCubesTables::faceCorners[f - 1])
                bits |= 1 << corner[c];
            face[f] = faceOf(bits);
        }
    }

    /// The identity first. A permutation of the axes together with mirrors is a rotation when both are even or both
    /// are odd.
    static const std::array<Rotation, 24>& all() {
        static const std::array<Rotation, 24> rotations = [] {
            constexpr std::array<int, 3> even[3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1}};
            constexpr std::array<int, 3> odd[3] = {{0, 2, 1}, {2, 1, 0}, {1, 0, 2}};
            constexpr int evenFlips[4] = {0, 3, 5, 6}, oddFlips[4] = {1, 2, 4, 7};
            const auto made = [&](int n) {
                return n < 12 ? Rotation(even[n / 4], evenFlips[n % 4]) : Rotation(odd[n / 4 - 3], oddFlips[n % 4]);
            };
            return [&]<std::size_t... n>(std::index_sequence<n...>) {
                return std::array<Rotation, 24>{made(int(n))...};
            }
            (std::make_index_sequence<24>());
        }();
        return rotations;
    }
};

} // namespace

const Code MarchingCubesTables::cases[256][2] = {
    {0, -1},  {1, 0},   {1, 1},   {2, 0},  {1, 2},   {3, 0},  {2, 3},   {5, 0},  {1, 3},   {2, 1},   {3, 3},   {5, 1},
    {2, 5},   {5, 4},   {5, 9},   {8, 0},  {1, 4},   {2, 2},  {3, 4},   {5, 2},  {4, 2},   {6, 2},   {6, 9},   {11, 0},
    {3, 8},   {5, 5},   {7, 3},   {9, 1},  {6, 16},  {14, 3}, {12, 12}, {5, 24}, {1, 5},   {3, 1},   {2, 4},   {5, 3},
    {3, 6},   {7, 0},   {5, 10},  {9, 0},  {4, 3},   {6, 4},  {6, 11},  {14, 1}, {6, 17},  {12, 4},  {11, 6},  {5, 25},
    {2, 8},   {5, 7},   {5, 12},  {8, 1},  {6, 18},  {12, 5}, {14, 7},  {5, 28}, {6, 21},  {11, 4},  {12, 15}, {5, 30},
    {10, 5},  {6, 32},  {6, 39},  {2, 12}, {1, 6},   {4, 0},  {3, 5},   {6, 0},  {2, 6},   {6, 3},   {5, 11},  {14, 0},
    {3, 9},   {6, 5},   {7, 4},   {12, 1}, {5, 14},  {11, 3}, {9, 4},   {5, 26}, {3, 10},  {6, 6},   {7, 5},   {12, 2},
    {6, 19},  {10, 1},  {12, 13}, {6, 24}, {7, 7},   {12, 9}, {13, 1},  {7, 9},  {12, 20}, {6, 33},  {7, 13},  {3, 12},
    {2, 10},  {6, 7},   {5, 13},  {11, 2}, {5, 16},  {12, 7}, {8, 3},   {5, 29}, {6, 22},  {10, 2},  {12, 17}, {6, 27},
    {14, 9},  {6, 34},  {5, 39},  {2, 14}, {5, 20},  {14, 5}, {9, 5},   {5, 32}, {11, 10}, {6, 35},  {5, 41},  {2, 16},
    {12, 23}, {6, 37},  {7, 14},  {3, 16}, {6, 46},  {4, 6},  {3, 21},  {1, 8},  {1, 7},   {3, 2},   {4, 1},   {6, 1},
    {3, 7},   {7, 1},   {6, 10},  {12, 0}, {2, 7},   {5, 6},  {6, 12},  {11, 1}, {5, 15},  {9, 2},   {14, 6},  {5, 27},
    {2, 9},   {5, 8},   {6, 13},  {14, 2}, {6, 20},  {12, 6}, {10, 3},  {6, 25}, {5, 18},  {8, 2},   {12, 16}, {5, 31},
    {11, 9},  {5, 34},  {6, 40},  {2, 13}, {3, 11},  {7, 2},  {6, 14},  {12, 3}, {7, 6},   {13, 0},  {12, 14}, {7, 8},
    {6, 23},  {12, 10}, {10, 4},  {6, 28}, {12, 21}, {7, 10}, {6, 41},  {3, 13}, {5, 21},  {9, 3},   {11, 8},  {5, 33},
    {12, 22}, {7, 11},  {6, 42},  {3, 14}, {14, 11}, {5, 36}, {6, 44},  {2, 17}, {6, 47},  {3, 18},  {4, 7},   {1, 9},
    {2, 11},  {6, 8},   {6, 15},  {10, 0}, {5, 17},  {12, 8}, {11, 7},  {6, 26}, {5, 19},  {14, 4},  {12, 18}, {6, 29},
    {8, 4},   {5, 35},  {5, 40},  {2, 15}, {5, 22},  {11, 5}, {12, 19}, {6, 30}, {14, 10}, {6, 36},  {6, 43},  {4, 4},
    {9, 7},   {5, 37},  {7, 15},  {3, 17}, {5, 44},  {2, 19}, {3, 22},  {1, 10}, {5, 23},  {12, 11}, {14, 8},  {6, 31},
    {9, 6},   {7, 12},  {5, 42},  {3, 15}, {11, 11}, {6, 38}, {6, 45},  {4, 5},  {5, 45},  {3, 19},  {2, 21},  {1, 11},
    {8, 5},   {5, 38},  {5, 43},  {2, 18}, {5, 46},  {3, 20}, {2, 22},  {1, 12}, {5, 47},  {2, 20},  {3, 23},  {1, 13},
    {2, 23},  {1, 14},  {1, 15},  {0, -1},
};

const Code MarchingCubesTables::test3[24] = {5,  1,  4,  5,  1,  2,  2,  3,  4,  3,  6,  6,
                                             -6, -6, -3, -4, -3, -2, -2, -1, -5, -4, -1, -5};

const Code MarchingCubesTables::test4[8] = {7, 7, 7, 7, -7, -7, -7, -7};

const Code MarchingCubesTables::test6[48][3] = {
    {2, 7, 10},  {4, 7, 11},   {5, 7, 1},    {5, 7, 3},    {1, 7, 9},   {3, 7, 10},   {6, 7, 5},    {1, 7, 8},
    {4, 7, 8},   {1, 7, 8},    {3, 7, 11},   {5, 7, 2},    {5, 7, 0},   {1, 7, 9},    {6, 7, 6},    {2, 7, 9},
    {4, 7, 8},   {2, 7, 9},    {2, 7, 10},   {6, 7, 7},    {3, 7, 10},  {4, 7, 11},   {3, 7, 11},   {6, 7, 4},
    {-6, -7, 4}, {-3, -7, 11}, {-4, -7, 11}, {-3, -7, 10}, {-6, -7, 7}, {-2, -7, 10}, {-2, -7, 9},  {-4, -7, 8},
    {-2, -7, 9}, {-6, -7, 6},  {-1, -7, 9},  {-5, -7, 0},  {-5, -7, 2}, {-3, -7, 11}, {-1, -7, 8},  {-4, -7, 8},
    {-1, -7, 8}, {-6, -7, 5},  {-3, -7, 10}, {-1, -7, 9},  {-5, -7, 3}, {-5, -7, 1},  {-4, -7, 11}, {-2, -7, 10}};

const Code MarchingCubesTables::test7[16][5] = {
    {1, 2, 5, 7, 1},     {3, 4, 5, 7, 3},     {4, 1, 6, 7, 4},     {4, 1, 5, 7, 0},
    {2, 3, 5, 7, 2},     {1, 2, 6, 7, 5},     {2, 3, 6, 7, 6},     {3, 4, 6, 7, 7},
    {-3, -4, -6, -7, 7}, {-2, -3, -6, -7, 6}, {-1, -2, -6, -7, 5}, {-2, -3, -5, -7, 2},
    {-4, -1, -5, -7, 0}, {-4, -1, -6, -7, 4}, {-3, -4, -5, -7, 3}, {-1, -2, -5, -7, 1}};

const Code MarchingCubesTables::test10[6][3] = {{2, 4, 7}, {5, 6, 7}, {1, 3, 7}, {1, 3, 7}, {5, 6, 7}, {2, 4, 7}};

const Code MarchingCubesTables::test12[24][4] = {
    {4, 3, 7, 11}, {3, 2, 7, 10}, {2, 6, 7, 5}, {6, 4, 7, 7}, {2, 1, 7, 9}, {5, 2, 7, 1}, {5, 3, 7, 2},  {5, 1, 7, 0},
    {5, 4, 7, 3},  {6, 3, 7, 6},  {1, 6, 7, 4}, {1, 4, 7, 8}, {4, 1, 7, 8}, {6, 1, 7, 4}, {3, 6, 7, 6},  {4, 5, 7, 3},
    {1, 5, 7, 0},  {3, 5, 7, 2},  {2, 5, 7, 1}, {1, 2, 7, 9}, {4, 6, 7, 7}, {6, 2, 7, 5}, {2, 3, 7, 10}, {3, 4, 7, 11}};

const Code MarchingCubesTables::test13[2][7] = {{1, 2, 3, 4, 5, 6, 7}, {2, 3, 4, 1, 5, 6, 7}};

const Code MarchingCubesTables::subconfig13[64] = {0,  1,  2,  7,  3,  -1, 11, -1, 4,  8,  -1, -1, 14, -1, -1, -1,
                                                   5,  9,  12, 23, 15, -1, 21, 38, 17, 20, -1, 36, 26, 33, 30, 44,
                                                   6,  10, 13, 19, 16, -1, 25, 37, 18, 24, -1, 35, 22, 32, 29, 43,
                                                   -1, -1, -1, 34, -1, -1, 28, 42, -1, 31, -1, 41, 27, 40, 39, 45};

const Code MarchingCubesTables::faceCorners[6][4] = {{0, 4, 5, 1}, {1, 5, 6, 2}, {2, 6, 7, 3},
                                                     {3, 7, 4, 0}, {0, 3, 2, 1}, {4, 7, 6, 5}};

const Code MarchingCubesTables::edgeEnds[12][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6},
                                                   {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};

const MarchingCubesTables& MarchingCubesTables::instance() {
    static const MarchingCubesTables tables;
    return tables;
}

MarchingCubesTables::MarchingCubesTables() {
    // Images by rotation alone come first: in 13.5.1 the inside corner has to stand before the outside one.
    fill(false);
    fill(true);
}

/// Enters the images of all base tilings, as they are or with inside and outside exchanged, into the rows that are
/// still empty.
void MarchingCubesTables::fill(bool exchanged) {
    // The identity comes first, so that the rows above stand in the tables as they are.
    for (const Rotation& rotation : Rotation::all()) {
        for (const BaseTiling& base : baseTilings) {
            int code = 0;
            for (int c : base.insideCorners)
                code |= 1 << rotation.corner[c];
            int joined = 0;
            for (int f : base.joinedFaces)
                joined |= 1 << rotation.face[f];
            if (exchanged) {
                // Where the inside corners were separated, the outside corners were joined, and are inside now.
                code ^= 255;
                for (int f = 1; f <= 6; ++f)
                    joined ^= isAmbiguous(code, f) ? 1 << f : 0;
            }
            const auto testFace = [joined](int face) {
                const bool isJoined = (joined >> (face < 0 ? -face : face) & 1) != 0;
                return isJoined == (face > 0);
            };
            const Filling tube = exchanged ? OutsideTube : InsideTube; // of inside corners of the base
            const auto testInterior = [&base, tube](bool inside, int) {
                return base.filling != Discs && (base.filling == tube) == inside;
            };
            const CubeTiling<Code> image = choose<Code>(*this, code, testFace, testInterior);
            if (image.row[0] != image.row[1])
                continue;
            const int* from = base.row.begin();
            for (Code* to = image.row; from != base.row.end(); from += 3, to += 3) {
                to[0] = Code(rotation.edge[from[0]]);
                to[1] = Code(rotation.edge[from[exchanged ? 2 : 1]]);
                to[2] = Code(rotation.edge[from[exchanged ? 1 : 2]]);
            }
        }
    }
}

} // namespace vorlen
