#pragma once

#include <vector>

namespace vorlen {

class VoxelBody;

/// The skeleton of a body: lines along the middle of its tubes, and how they hang together.
///
/// The body is peeled layer by layer, from six sides in turn, as long as neither its connections nor those of the
/// outside change and no end of a line is lost (T. Lee, R. Kashyap, C. Chu, Building skeleton models via 3-D medial
/// surface/axis thinning algorithms, 1994); what is left is lines, one voxel wide. A line that reaches no farther from
/// its fork than the body is thick there is a bump of the surface and no branch, and goes. An end counts up to the
/// surface beyond it.
///
/// Lengths are those of the lines after their steps have been smoothed away, in the body's unit. A ring is one branch
/// without ends; a ball, and what else is hardly longer than thick, has no branches. Meant for tubes: of plates and
/// hollow bodies, it tells what is left of them.
struct BodySkeleton {
    explicit BodySkeleton(const VoxelBody& body);

    double length = 0; ///< of all branches, and from the ends to the surface
    int numBranches = 0;
    int numEnds = 0;
    int numForks = 0;
};

} // namespace vorlen
