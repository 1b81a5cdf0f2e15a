#include "reconstruction/marchingcube.h"

#include <cmath>
#include <iostream>

namespace vorlen {

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
bool MarchingCube<Real>::testInterior(bool inside, int reference) const {
    // The section at height t has the corners c[n] + t * rise[n], and the difference of the products of its opposite
    // corners is a t^2 + b t + const.
    const Real* c = values;
    Real rise[4];
    for (int n = 0; n < 4; ++n)
        rise[n] = c[n + 4] - c[n];
    const Real a = rise[0] * rise[2] - rise[1] * rise[3];
    const Real b = c[2] * rise[0] + c[0] * rise[2] - c[1] * rise[3] - c[3] * rise[1];
    const Real t = -b / (2 * a);
    if (!(t >= 0 && t <= 1))
        return false;
    Real section[4];
    for (int n = 0; n < 4; ++n)
        section[n] = c[n] + t * rise[n];

    const bool even = section[0] >= 0, odd = section[1] >= 0;
    if (even == odd || (section[2] >= 0) != even || (section[3] >= 0) != odd)
        return false;
    const bool evenJoined = section[0] * section[2] - section[1] * section[3] >= Real(limit);
    if ((evenJoined ? even : odd) != inside)
        return false;
    if (reference == MarchingCubesTables::anyEdge)
        return true;
    // Corners 0 and 2, and those above them, stand at the even corners of a section.
    const MarchingCubesTables::Code* ends = MarchingCubesTables::edgeEnds[reference];
    const int corner = (values[ends[0]] >= 0) == inside ? ends[0] : ends[1];
    return (corner % 2 == 0) == evenJoined;
}

template <class Real>
CubeTiling<const MarchingCubesTables::Code> MarchingCube<Real>::tiling(const MarchingCubesTables& tables) const {
    return tables.tiling(
        code(), [this](int face) { return testFace(face); },
        [this](bool inside, int reference) { return testInterior(inside, reference); });
}

template struct MarchingCube<double>;
template struct MarchingCube<long double>;

} // namespace vorlen
