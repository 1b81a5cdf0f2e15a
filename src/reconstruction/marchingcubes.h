#pragma once

#include "images/volumes/voxelmatrix.h"
#include "progress/progresssubject.h"
#include "shapes/trimesh.h"

namespace vorlen {

/// Surface on which the voxels of a volume change from below a level to at or above it, by Marching Cubes 33.
///
/// Between eight neighbouring voxels the field is taken as trilinear. Which corners of a cube's faces hang together is
/// settled by the asymptotic decider and which parts meet inside the cube by an interior test (MarchingCube), so that
/// neighbouring cubes agree and the surface has no gaps: each edge of a closed surface belongs to two triangles that
/// run along it in opposite directions, and each edge of an open one to two, or to one if it lies on the border of the
/// volume. Coordinates are (row, column, plane) in voxel indices; seen from the side of greater values the triangles
/// run counter-clockwise, so that normals point to the inside and the volume of a closed surface is negative.
///
/// A voxel is inside when it is at least the level; a vertex between two voxels divides their distance in the ratio of
/// their differences from the level. Beyond the border everything is outside: a closed surface runs through the centres
/// of the border's voxels there, where several of its vertices may have one place.
///
/// Decisions: a voxel that is not a number is outside and counts, as a place beyond the border does, as 1 below the
/// level. A vertex next to an infinite voxel stands on the other one, between two infinite ones in the middle. An open
/// surface of a volume of one row, column or plane is empty. Where the tests of a cube of case 13 exclude each other,
/// which rounding can bring about, the cube is tiled by its face tests and nothing is reported.
///
/// The time is linear in the number of voxels; besides the mesh, the work needs memory for a few layers of the volume.
/// Layers of one row index are compared with the level and kept as bits, of which 32 cubes are passed over at a time.
///
/// Monitors hear how many layers are done; cancel() makes buildMesh() return an empty mesh, until reset(). No
/// other state lasts between calls. Compiled for int, float, double and long double.
///
/// Sources: see MarchingCubesTables and MarchingCube.
template <class T>
class MarchingCubes : public ProgressSubject {
public:
    /// The surface, with normals and without stars. Vertices are numbered by the grid's edges on which they lie: first
    /// those along the rows' index, then along the columns', then along the planes', each ascending by row, column and
    /// plane; behind them come the vertices inside cubes. Triangles ascend by their cube's row, column and plane.
    ///
    /// The volume must have its planes, and not only its header read. Throws SizeError when the surface has more
    /// vertices than an int can number.
    TriMesh<float> buildMesh(const VoxelMatrix<T>& matrix, T level, bool closedSurface);
};

} // namespace vorlen
