#pragma once

#include <array>

#include "shapes/trimesh.h"

namespace vorlen {

/// What the form of a closed surface is like: how far it reaches, how thick it is, and how it branches. Lengths are in
/// the unit of the surface's coordinates.
///
/// Boxes and Feret diameters are those of the surface's vertices (PointExtents). Thickness and skeleton are found among
/// about 100,000 cubes that fill what is enclosed (VoxelBody, BodySkeleton), so that they are as fine as the body is
/// thick: a hundredth of a compact body, and about an eighth of the thickness of a tube that is a thousand times as
/// long as thick. What is thinner than a cube is not seen.
struct ModelShape {
    ModelShape() = default;

    /// Of a closed surface around this volume. Throws SizeError unless the mesh lies in space.
    ModelShape(const TriMesh<double>& mesh, double volume);

    std::array<double, 3> box = {};         ///< sides along the axes of the world
    std::array<double, 3> orientedBox = {}; ///< of the box of the least volume, the longest first
    double largestFeret = 0, smallestFeret = 0;
    double meanThickness = 0, greatestThickness = 0;
    double cube = 0; ///< side of the cubes
    double skeletonLength = 0;
    int branches = 0, ends = 0;
};

} // namespace vorlen
