#include "reconstruction/modelshape.h"

#include <vector>

#include "shapes/bodyskeleton.h"
#include "shapes/pointextents.h"
#include "shapes/voxelbody.h"

namespace vorlen {

namespace {

constexpr int numCubes = 100000;

} // namespace

ModelShape::ModelShape(const TriMesh<double>& mesh, double volume) {
    const VoxelBody body(mesh, volume, numCubes);
    cube = body.getVoxelSize();
    const VoxelBody::Thickness thickness = body.getThickness();
    meanThickness = thickness.mean;
    greatestThickness = thickness.greatest;
    const BodySkeleton skeleton(body);
    skeletonLength = skeleton.length;
    branches = skeleton.numBranches;
    ends = skeleton.numEnds;

    std::vector<PointExtents::Point> points;
    points.reserve(std::size_t(mesh.getNumVertices()));
    for (int i = 0; i < mesh.getNumVertices(); ++i)
        points.push_back({mesh[i][0], mesh[i][1], mesh[i][2]});
    const PointExtents extents(points);
    for (std::size_t axis = 0; axis < 3; ++axis)
        box[axis] = extents.upper[axis] - extents.lower[axis];
    orientedBox = extents.orientedSides;
    largestFeret = extents.largestFeret;
    smallestFeret = extents.smallestFeret;
}

} // namespace vorlen
