#pragma once

namespace vorlen {

class MeshDistance;

/// How far two surfaces lie from each other, in the unit of their coordinates. Which side of a surface the other one
/// lies on makes no difference.
///
/// Means are taken over the area: each triangle is cut into pieces, some 5000 in all or more, and the distance of a
/// piece's middle from the other surface stands for the piece. The greatest distances are those of vertices and of
/// middles of pieces, which are halved where the distance may be greater in between, as long as that can make more than
/// a thousandth and up to 2000 times (after M. Tang, M. Lee, Y. J. Kim, Interactive Hausdorff distance computation for
/// general polygonal models, 2009): never too great. The least distance is exact.
struct SurfaceDistances {
    SurfaceDistances() = default;
    SurfaceDistances(const MeshDistance& first, const MeshDistance& second);

    double least = 0;            ///< 0 where the surfaces touch or cross
    double meanToSecond = 0;     ///< of the first surface's places from the second surface
    double meanToFirst = 0;      ///< of the second surface's places from the first surface
    double mean = 0;             ///< over the places of both, by area
    double farthestToSecond = 0; ///< of the first surface's farthest place from the second surface
    double farthestToFirst = 0;
    double hausdorff = 0; ///< the greater of the two farthest ones
};

} // namespace vorlen
