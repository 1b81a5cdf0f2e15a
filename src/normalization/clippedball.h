#pragma once

namespace vorlen {

/// Volume of the part of a ball that lies in a box around its centre.
///
/// below and above: distances, at least 0, from the centre to the faces of the box on the three axes. Exact where no
/// two faces cut the ball in the same place, else within about a thousandth: one integral over areas of cut circles, by
/// ten points of Gauss and Legendre for each octant.
double clippedBallVolume(const double* below, const double* above, double radius);

} // namespace vorlen
