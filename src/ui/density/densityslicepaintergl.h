#pragma once

#include "images/volumes/voxelmatrix.h"
#include "normalization/maplattice.h"
#include "ui/viewer/paintergl.h"
#include "ui/viewer/vertexarraygl.h"

namespace vorlen {

/// Draws one plane of a map in the colours of densityColor(), unlit, so that a colour means the same from every side.
/// The plane goes through the places of its elements. The map is seen, not owned.
class DensitySlicePainterGL : public PainterGL<float> {
public:
    DensitySlicePainterGL(const VoxelMatrix<float>& map, const MapLattice<float>& lattice);

    BoundingBox<float> boundingBox() const override;
    void glDraw() const override;

    /// The plane of these elements across the axis. Both are brought into their ranges.
    void setPlane(int axis, int index);
    int getAxis() const { return __axis; }
    int getIndex() const { return __index; }
    int getNumPlanes() const { return __lattice.getSize(__axis); }
    /// Coordinate of the plane on its axis.
    float getPosition() const { return __lattice.position(__axis, __index); }

private:
    void __prepare() const;

    const VoxelMatrix<float>& __map;
    MapLattice<float> __lattice;
    float __least = 0;
    float __greatest = 0;
    int __axis = 2;
    int __index = 0;
    mutable bool __prepared = false;
    mutable VertexArrayGL __array;
};

} // namespace vorlen
