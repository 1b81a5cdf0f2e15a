#pragma once

#include <array>
#include <vector>

#include "shapes/trimesh.h"

namespace vorlen {

/// What a closed surface encloses, as cubic voxels, with the distance of each to the outside: thickness and skeleton of
/// a body are found in it.
///
/// A voxel belongs to the body when its middle does: rows of middles are cut by the triangles, and what lies between an
/// odd crossing and the next one is inside, whichever way the triangles turn. Distances are exact ones between middles,
/// by lower envelopes of parabolas along each axis (P. Felzenszwalb, D. Huttenlocher, Distance transforms of sampled
/// functions, 2012).
///
/// Voxels are numbered x first, then y, then z; two layers of the outside lie all around.
class VoxelBody {
public:
    /// Voxels of such a size that about so many are inside, and at most 30 times as many in all. Throws SizeError
    /// unless the mesh is of space 3.
    VoxelBody(const TriMesh<double>& mesh, double volume, int numInside);

    double getVoxelSize() const { return __size; }
    const std::array<int, 3>& getSizes() const { return __sizes; }
    int getNumVoxels() const { return int(__squares.size()); }
    bool isInside(int voxel) const { return __squares[std::size_t(voxel)] > 0; }

    /// Squared distance of the middle to that of the nearest voxel outside, in voxels; 0 outside.
    int getSquaredDistance(int voxel) const { return __squares[std::size_t(voxel)]; }

    /// Distance of the middle to the surface, in the mesh's unit: half a voxel less than to the nearest middle outside.
    double getDepth(int voxel) const;

    /// How far the number goes on for one voxel along an axis.
    int getStep(int axis) const { return axis == 0 ? 1 : axis == 1 ? __sizes[0] : __sizes[0] * __sizes[1]; }

    /// Thickness of the body: at each place the diameter of the largest ball within the body that holds the place (T.
    /// Hildebrand, P. Rueegsegger, A new method for the model-independent assessment of thickness in three-dimensional
    /// images, 1997). The mean over all places, and the greatest. In the mesh's unit; the greatest to about a voxel,
    /// the mean up to two voxels too small, since the balls' borders are those of voxels.
    struct Thickness {
        double mean = 0, greatest = 0;
    };
    Thickness getThickness() const;

private:
    void fill(const TriMesh<double>& mesh);
    void transform(int axis);
    bool isCovered(int voxel) const;

    std::array<double, 3> __origin = {}; // the middle of voxel 0
    double __size = 1;
    std::array<int, 3> __sizes = {};
    std::vector<int> __squares;
};

} // namespace vorlen
