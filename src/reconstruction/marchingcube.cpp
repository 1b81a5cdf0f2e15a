#include "reconstruction/marchingcube.h"

#include <cmath>
#include <iostream>

namespace {

/// For each edge: its own ends, and the ends of the three edges parallel to it, in the same direction and in their
/// order around the cube.
constexpr signed char parallelEdges[12][4][2] = {
    {{0, 1}, {3, 2}, {7, 6}, {4, 5}}, {{1, 2}, {0, 3}, {4, 7}, {5, 6}}, {{2, 3}, {1, 0}, {5, 4}, {6, 7}},
    {{3, 0}, {2, 1}, {6, 5}, {7, 4}}, {{4, 5}, {7, 6}, {3, 2}, {0, 1}}, {{5, 6}, {4, 7}, {0, 3}, {1, 2}},
    {{6, 7}, {5, 4}, {1, 0}, {2, 3}}, {{7, 4}, {6, 5}, {2, 1}, {3, 0}}, {{0, 4}, {3, 7}, {2, 6}, {1, 5}},
    {{1, 5}, {0, 4}, {3, 7}, {2, 6}}, {{2, 6}, {1, 5}, {0, 4}, {3, 7}}, {{3, 7}, {2, 6}, {1, 5}, {0, 4}}};

/// The edge at whose vertex the cube is cut for the interior test.
int referenceEdge(int caseNumber, int config, int subconfig) {
    using Tables = MarchingCubesTables;
    switch (caseNumber) {
    case 6:
        return Tables::test6[config][2];
    case 7:
        return Tables::test7[config][4];
    case 12:
        return Tables::test12[config][3];
    default:
        return Tables::instance().tiling13_5_1[config][subconfig][0];
    }
}

} // namespace

template <class Real>
int MarchingCube<Real>::code() const {
    int code = 0;
    for (int c = 0; c < 8; ++c)
        code |= int(values[c] >= 0) << c;
    return code;
}

template <class Real>
bool MarchingCube<Real>::testFace(int face) const {
    const int number = face < 0 ? -face : face;
    if (number < 1 || number > 6) {
        std::cout << "Invalid face code " << static_cast<char>(face) << std::endl;
        return face >= 0;
    }
    const MarchingCubesTables::Code* corner = MarchingCubesTables::faceCorners[number - 1];
    const Real p = values[corner[0]], q = values[corner[1]], r = values[corner[2]], s = values[corner[3]];
    const Real w = p * r - q * s;
    if (!(std::abs(w) >= Real(limit)))
        return face >= 0;
    const bool joined = (p >= 0) == (w > 0);
    return joined == (face > 0);
}

template <class Real>
bool MarchingCube<Real>::testInterior(int sign, int caseNumber, int config, int subconfig) const {
    const bool positive = sign > 0, negative = sign < 0;
    const Real* c = values;
    Real section[4] = {0, 0, 0, 0}; // at, bt, ct, dt: the field at the corners of a section through the cube
    switch (caseNumber) {
    case 4:
    case 10: {
        // The section in which the product of the diagonals differs most.
        const Real a = (c[4] - c[0]) * (c[6] - c[2]) - (c[7] - c[3]) * (c[5] - c[1]);
        const Real b = c[2] * (c[4] - c[0]) + c[0] * (c[6] - c[2]) - c[1] * (c[7] - c[3]) - c[3] * (c[5] - c[1]);
        const Real t = -b / (2 * a);
        if (!(t >= 0 && t <= 1))
            return positive;
        section[0] = c[0] + (c[4] - c[0]) * t;
        section[1] = c[3] + (c[7] - c[3]) * t;
        section[2] = c[2] + (c[6] - c[2]) * t;
        section[3] = c[1] + (c[5] - c[1]) * t;
        break;
    }
    case 6:
    case 7:
    case 12:
    case 13: {
        const auto& edges = parallelEdges[referenceEdge(caseNumber, config, subconfig)];
        const Real t = c[edges[0][0]] / (c[edges[0][0]] - c[edges[0][1]]);
        for (int n = 1; n < 4; ++n)
            section[n] = c[edges[n][0]] + (c[edges[n][1]] - c[edges[n][0]]) * t;
        break;
    }
    default:
        std::cout << "Invalid ambiguous case " << static_cast<char>(caseNumber) << std::endl;
    }
    int test = 0;
    for (int n = 0; n < 4; ++n)
        test |= int(section[n] >= 0) << n;
    const Real difference = section[0] * section[2] - section[1] * section[3];
    switch (test) {
    case 5: // the ends of one diagonal are inside
        return difference < Real(limit) ? positive : negative;
    case 10:
        return difference >= Real(limit) ? positive : negative;
    case 7:
    case 11:
    case 13:
    case 14:
    case 15:
        return negative;
    default:
        return positive;
    }
}

template <class Real>
CubeTiling<const MarchingCubesTables::Code> MarchingCube<Real>::tiling(const MarchingCubesTables& tables) const {
    return tables.tiling(
        code(), [this](int face) { return testFace(face); },
        [this](int sign, int caseNumber, int config, int subconfig) {
            return testInterior(sign, caseNumber, config, subconfig);
        });
}

template struct MarchingCube<double>;
template struct MarchingCube<long double>;
