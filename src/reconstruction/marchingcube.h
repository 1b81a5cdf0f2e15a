#pragma once

#include "reconstruction/marchingcubestables.h"

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

    /// Whether the parts of the surface that meet the cube's faces stay apart inside the cube for a positive sign, in
    /// case 7 whether they are joined; the opposite for a negative sign. subconfig is used in case 13 only. Another
    /// case number than 4, 6, 7, 10, 12 and 13 is told on the standard output.
    bool testInterior(int sign, int caseNumber, int config, int subconfig) const;

    /// The tiling of the cube, whose code is neither 0 nor 255.
    CubeTiling<const MarchingCubesTables::Code> tiling(const MarchingCubesTables& tables) const;
};
