#pragma once

#include <cstdint>
#include <iterator>

namespace vorlen {

/// The tilings of a cube in the order of the tables below; Tiling13_x are those for the face answers that no trilinear
/// field gives.
enum class TilingTable {
    Tiling1,
    Tiling2,
    Tiling3_1,
    Tiling3_2,
    Tiling4_1,
    Tiling4_2,
    Tiling5,
    Tiling6_1_1,
    Tiling6_1_2,
    Tiling6_2,
    Tiling7_1,
    Tiling7_2,
    Tiling7_3,
    Tiling7_4_1,
    Tiling7_4_2,
    Tiling8,
    Tiling9,
    Tiling10_1_1,
    Tiling10_1_1_,
    Tiling10_1_2,
    Tiling10_1_2_,
    Tiling10_2,
    Tiling10_2_,
    Tiling11,
    Tiling12_1_1,
    Tiling12_1_1_,
    Tiling12_1_2,
    Tiling12_1_2_,
    Tiling12_2,
    Tiling12_2_,
    Tiling13_1,
    Tiling13_1_,
    Tiling13_2,
    Tiling13_2_,
    Tiling13_3,
    Tiling13_3_,
    Tiling13_4,
    Tiling13_5_1,
    Tiling13_5_2,
    Tiling13_5_2_,
    Tiling13_x,
    Tiling14
};

/// A row of a tiling table: three edge codes for each triangle. Code is const std::int8_t, or without const while the
/// tables are being filled.
template <class Code>
struct CubeTiling {
    Code* row;
    int numTriangles;
    TilingTable table;
    int entry; ///< place within the table's second index, 0 where it has none

    /// Whether the row uses code 12, the vertex inside the cube.
    bool hasInnerVertex() const {
        switch (table) {
        case TilingTable::Tiling7_3:
        case TilingTable::Tiling10_2:
        case TilingTable::Tiling10_2_:
        case TilingTable::Tiling12_2:
        case TilingTable::Tiling12_2_:
        case TilingTable::Tiling13_3:
        case TilingTable::Tiling13_3_:
        case TilingTable::Tiling13_4:
            return true;
        default:
            return false;
        }
    }
};

/// The tables of Marching Cubes 33: the 256 cube codes as 15 cases, what has to be tested in each case, and the
/// triangles of each outcome.
///
/// Corners 0 to 3 run around the face of the lowest third index, from (0, 0, 0) by (1, 0, 0), (1, 1, 0) to (0, 1, 0);
/// corners 4 to 7 are those above them. Corner c gives bit c of the cube code when it lies inside the surface. Edges 0
/// to 3 join corner n with the next one below, edges 4 to 7 above, edges 8 to 11 corner n - 8 with the one above it.
/// Faces: 1 and 3 of lowest and highest second index, 4 and 2 of lowest and highest first, 5 and 6 of lowest and
/// highest third. Each of the 254 cube codes that have a surface is exactly one case with one config, so that a row of
/// a tiling table belongs to one cube code and, with the sub-case, to one set of answers about its faces.
///
/// The tilings are not entered: the constructor makes them from one row for each sub-case (see baseTilings in the
/// source file) by the rotations of the cube and the exchange of inside and outside. For each row there holds, so that
/// neighbouring cubes fit whatever their sub-cases:
/// - The border of its triangles are the lines of the surface on the cube's faces, which depend on the face's corners
///   and on whether its inside corners are joined or separated, and on nothing else. Seen from the side of greater
///   values, the triangles' vertices run counter-clockwise: normals point to the inside.
/// - No edge between two of its triangles joins two vertices on one face of the cube: the neighbour could have the same
///   edge there, and four triangles would meet in it. The tubes of 7.4.2, 10.1.2, 12.1.2 and 13.5.2 can't do
///   without; these use the middle line of the face that starts on the edge which comes, counter-clockwise as seen from
///   outside of the cube, behind a corner of the kind that is joined on this face. The neighbour sees the face from the
///   other side and takes the other middle line.
///
/// Without a counterpart in print are tiling10_1_2_, tiling12_1_2_ and tiling13_5_2_, the tubes between outside corners
/// where the published tables know those between inside corners only, and tiling13_x.
///
/// Sources: E. V. Chernyaev, Marching Cubes 33, CERN CN/95-17, 1995; T. Lewiner, H. Lopes, A. W. Vieira and G. Tavares,
/// Efficient implementation of Marching Cubes' cases with topological guarantees, Journal of Graphics Tools 8(2), 2003.
/// The face rule is our own.
struct MarchingCubesTables {
    using Code = std::int8_t;

    static constexpr int innerVertex = 12;
    /// In place of a reference edge: every connection through the interior counts.
    static constexpr int anyEdge = -1;

    /// The one set of tables, made at the first call.
    static const MarchingCubesTables& instance();

    MarchingCubesTables();

    /// By cube code: case and config; config is -1 for the codes without a surface.
    static const Code cases[256][2];
    /// The faces and interiors to be tested. A negative number asks for the opposite answer.
    static const Code test3[24];
    static const Code test4[8];
    static const Code test6[48][3];
    static const Code test7[16][5];
    static const Code test10[6][3];
    static const Code test12[24][4];
    static const Code test13[2][7];
    /// By the answers for the six faces of case 13 as bits: the sub-case, -1 for answers that exclude each other.
    static const Code subconfig13[64];
    /// The corners P, Q, R, S around face number n, in row n - 1.
    static const Code faceCorners[6][4];
    /// The corners at the ends of each edge.
    static const Code edgeEnds[12][2];

    Code tiling1[16][3]{};
    Code tiling2[24][6]{};
    Code tiling3_1[24][6]{}, tiling3_2[24][12]{};
    Code tiling4_1[8][6]{}, tiling4_2[8][18]{};
    Code tiling5[48][9]{};
    Code tiling6_1_1[48][9]{}, tiling6_1_2[48][21]{}, tiling6_2[48][15]{};
    Code tiling7_1[16][9]{}, tiling7_2[16][3][15]{}, tiling7_3[16][3][27]{}, tiling7_4_1[16][15]{},
        tiling7_4_2[16][27]{};
    Code tiling8[6][6]{};
    Code tiling9[8][12]{};
    Code tiling10_1_1[6][12]{}, tiling10_1_1_[6][12]{}, tiling10_1_2[6][24]{}, tiling10_1_2_[6][24]{},
        tiling10_2[6][24]{}, tiling10_2_[6][24]{};
    Code tiling11[12][12]{};
    Code tiling12_1_1[24][12]{}, tiling12_1_1_[24][12]{}, tiling12_1_2[24][24]{}, tiling12_1_2_[24][24]{},
        tiling12_2[24][24]{}, tiling12_2_[24][24]{};
    Code tiling13_1[2][12]{}, tiling13_1_[2][12]{}, tiling13_2[2][6][18]{}, tiling13_2_[2][6][18]{};
    Code tiling13_3[2][12][30]{}, tiling13_3_[2][12][30]{}, tiling13_4[2][4][36]{};
    Code tiling13_5_1[2][4][18]{}, tiling13_5_2[2][4][30]{}, tiling13_5_2_[2][4][30]{};
    /// Case 13 with face answers that exclude each other, by these answers as bits; only rows whose subconfig13 is -1
    /// are used. Rounding, or products below the limit of the face test, can give such answers; without triangles the
    /// surface would have a hole there. 10 triangles for three joined faces, otherwise 8.
    Code tiling13_x[2][64][30]{};
    Code tiling14[12][12]{};

    /// The tiling of the cube of this code, which is not 0 or 255. As far as the case needs them, it asks
    /// testFace(face) and testInterior(inside, edge): whether the inside corners (or the outside ones) are joined by a
    /// tube through the interior that ends at the edge's corner of this kind.
    template <class FaceTest, class InteriorTest>
    CubeTiling<const Code> tiling(int code, FaceTest testFace, InteriorTest testInterior) const {
        return choose<const Code>(*this, code, testFace, testInterior);
    }

private:
    template <class Result, class Tables, class FaceTest, class InteriorTest>
    static CubeTiling<Result> choose(Tables& t, int code, FaceTest testFace, InteriorTest testInterior);

    void fill(bool exchanged);
};

template <class Result, class Tables, class FaceTest, class InteriorTest>
CubeTiling<Result> MarchingCubesTables::choose(Tables& t, int code, FaceTest testFace, InteriorTest testInterior) {
    using enum TilingTable;
    const int config = cases[code][1];
    const auto tiling = [](TilingTable table, auto& row, int entry = 0) {
        return CubeTiling<Result>{row, int(std::size(row)) / 3, table, entry};
    };
    // The answers for the first count faces of a test row as bits.
    const auto faceBits = [&](const Code* faces, int count) {
        int bits = 0;
        for (int n = 0; n < count; ++n)
            bits |= int(testFace(faces[n])) << n;
        return bits;
    };
    switch (cases[code][0]) {
    case 1:
        return tiling(Tiling1, t.tiling1[config]);
    case 2:
        return tiling(Tiling2, t.tiling2[config]);
    case 3:
        return testFace(test3[config]) ? tiling(Tiling3_2, t.tiling3_2[config])
                                       : tiling(Tiling3_1, t.tiling3_1[config]);
    case 4:
        return testInterior(test4[config] > 0, anyEdge) ? tiling(Tiling4_2, t.tiling4_2[config])
                                                        : tiling(Tiling4_1, t.tiling4_1[config]);
    case 5:
        return tiling(Tiling5, t.tiling5[config]);
    case 6:
        if (testFace(test6[config][0]))
            return tiling(Tiling6_2, t.tiling6_2[config]);
        return testInterior(test6[config][1] > 0, test6[config][2]) ? tiling(Tiling6_1_2, t.tiling6_1_2[config])
                                                                    : tiling(Tiling6_1_1, t.tiling6_1_1[config]);
    case 7:
        switch (faceBits(test7[config], 3)) {
        case 0:
            return tiling(Tiling7_1, t.tiling7_1[config]);
        case 1:
            return tiling(Tiling7_2, t.tiling7_2[config][0], 0);
        case 2:
            return tiling(Tiling7_2, t.tiling7_2[config][1], 1);
        case 4:
            return tiling(Tiling7_2, t.tiling7_2[config][2], 2);
        case 3:
            return tiling(Tiling7_3, t.tiling7_3[config][0], 0);
        case 5:
            return tiling(Tiling7_3, t.tiling7_3[config][1], 1);
        case 6:
            return tiling(Tiling7_3, t.tiling7_3[config][2], 2);
        default:
            return testInterior(test7[config][3] < 0, test7[config][4]) ? tiling(Tiling7_4_2, t.tiling7_4_2[config])
                                                                        : tiling(Tiling7_4_1, t.tiling7_4_1[config]);
        }
    case 8:
        return tiling(Tiling8, t.tiling8[config]);
    case 9:
        return tiling(Tiling9, t.tiling9[config]);
    case 10:
        switch (faceBits(test10[config], 2)) {
        case 3:
            return testInterior(false, anyEdge) ? tiling(Tiling10_1_2_, t.tiling10_1_2_[config])
                                                : tiling(Tiling10_1_1_, t.tiling10_1_1_[config]);
        case 1:
            return tiling(Tiling10_2, t.tiling10_2[config]);
        case 2:
            return tiling(Tiling10_2_, t.tiling10_2_[config]);
        default:
            return testInterior(true, anyEdge) ? tiling(Tiling10_1_2, t.tiling10_1_2[config])
                                               : tiling(Tiling10_1_1, t.tiling10_1_1[config]);
        }
    case 11:
        return tiling(Tiling11, t.tiling11[config]);
    case 12:
        switch (faceBits(test12[config], 2)) {
        case 3:
            return testInterior(false, test12[config][3]) ? tiling(Tiling12_1_2_, t.tiling12_1_2_[config])
                                                          : tiling(Tiling12_1_1_, t.tiling12_1_1_[config]);
        case 1:
            return tiling(Tiling12_2, t.tiling12_2[config]);
        case 2:
            return tiling(Tiling12_2_, t.tiling12_2_[config]);
        default:
            return testInterior(true, test12[config][3]) ? tiling(Tiling12_1_2, t.tiling12_1_2[config])
                                                         : tiling(Tiling12_1_1, t.tiling12_1_1[config]);
        }
    case 13: {
        const int bits = faceBits(test13[config], 6);
        const int u = subconfig13[bits];
        if (u < 0) {
            CubeTiling<Result> result = tiling(Tiling13_x, t.tiling13_x[config][bits], bits);
            int joined = 0;
            for (int n = 0; n < 6; ++n)
                joined += bits >> n & 1;
            result.numTriangles = joined == 3 ? 10 : 8;
            return result;
        }
        if (u == 0)
            return tiling(Tiling13_1, t.tiling13_1[config]);
        if (u <= 6)
            return tiling(Tiling13_2, t.tiling13_2[config][u - 1], u - 1);
        if (u <= 18)
            return tiling(Tiling13_3, t.tiling13_3[config][u - 7], u - 7);
        if (u <= 22)
            return tiling(Tiling13_4, t.tiling13_4[config][u - 19], u - 19);
        if (u <= 26) {
            // The row of three discs starts with the isolated inside corner; the isolated outside corner comes next.
            const Code* discs = t.tiling13_5_1[config][u - 23];
            if (testInterior(true, discs[0]))
                return tiling(Tiling13_5_2, t.tiling13_5_2[config][u - 23], u - 23);
            if (testInterior(false, discs[3]))
                return tiling(Tiling13_5_2_, t.tiling13_5_2_[config][u - 23], u - 23);
            return tiling(Tiling13_5_1, t.tiling13_5_1[config][u - 23], u - 23);
        }
        if (u <= 38)
            return tiling(Tiling13_3_, t.tiling13_3_[config][u - 27], u - 27);
        if (u <= 44)
            return tiling(Tiling13_2_, t.tiling13_2_[config][u - 39], u - 39);
        return tiling(Tiling13_1_, t.tiling13_1_[config]);
    }
    default:
        return tiling(Tiling14, t.tiling14[config]);
    }
}

} // namespace vorlen
