#pragma once

#include "reconstruction/marchingcubestables.h"

namespace vorlen {

/// One cube of the grid with the field values at its corners (the voxels minus the level), and the tests that settle
/// what its corners leave open.
///
/// A corner is inside when its value is at least 0. Compiled for double and long double; values of float lose nothing
/// in double, nor do their products.
///
/// The face test sees nothing but the four values of the face, and the two cubes at a face get the same answer from it
/// whatever the values: both compute products and difference with the same rounding, and where the difference is no
/// number or below the limit, both take the inside corners for joined. A corner of value 0 is inside here as
/// everywhere; the plain form of the test, which multiplies by the value, would answer "at least 0" for it whatever the
/// other corners, in one cube and not in its neighbour.
template <class Real>
struct MarchingCube {
    /// Differences of products below this count as none.
    static constexpr double limit = 1.1920929e-7;

    Real values[8];

    /// The sum of the bits 2^c of all inside corners c.
    int code() const;

    /// Whether the inside corners of an ambiguous face, 1 to 6, are joined on it; for -1 to -6 whether they are
    /// separated. The asymptotic decider: G. M. Nielson and B. Hamann, The asymptotic decider, IEEE Visualization 1991.
    /// Another number is told on the standard output, and the answer is whether it is at least 0.
    bool testFace(int face) const;

    /// Whether two inside corners (or outside ones) at the ends of a diagonal through the cube are joined inside it by
    /// a tube, though not on its faces. reference is an edge with one end of the diagonal that is of this kind, or
    /// MarchingCubesTables::anyEdge for all diagonals.
    ///
    /// Within a section through the cube the field is bilinear, and one pair of opposite corners of the section is
    /// joined where the other two lie on the other side of the level and the product of the pair's values is the
    /// greater one. Along the tube the difference of the products is negative where it begins and ends, for one of the
    /// pair is 0 there, so that the tube is met in the section in which the difference has its extremum, or there is
    /// none. This is the published test of cases 4 and 10. The one of the other cases looks at the section through the
    /// vertex on the reference edge, where the product is 0: it never finds a tube when the faces have separated the
    /// corners.
    bool testInterior(bool inside, int reference) const;

    /// The tiling of the cube, whose code is neither 0 nor 255.
    CubeTiling<const MarchingCubesTables::Code> tiling(const MarchingCubesTables& tables) const;
};

} // namespace vorlen
