#pragma once

#include "numerics/vector.h"
#include "shapes/boundingbox.h"
#include "shapes/grid.h"

namespace vorlen {

template <class T>
class TriMesh;
template <class T>
class PixelMatrix;
template <class T>
class VoxelMatrix;

/// Where the elements of a map lie: as cells that divide a box, each told at its centre, or as nodes, the first and
/// last of an axis on the faces of the box.
enum class MapLayout { Cells, Nodes };

/// The places of the elements of a map: origin, step and size along each axis of space.
///
/// The one answer to where element (i, j, k) lies. The estimator that fills a map tells its lattice, and whatever reads
/// the map (percentiles, masks, files, surfaces, slices) asks the lattice. Coordinates are those of the patterns.
///
/// A node on a face stands for half a step only, so that the volumes that elements stand for always add up to that of
/// the box. The one node of an axis stands for the whole width; an axis without width counts as 1 wide, so that sums
/// over a flat box are sums over its plane. Instantiated for float, double and long double.
template <class T>
class MapLattice {
public:
    /// Throws SizeError unless box and size are of space 3. Sizes below 0 count as 0.
    MapLattice(MapLayout layout, const BoundingBox<T>& box, const Vector<int>& size);

    MapLayout getLayout() const { return __layout; }
    int getSize(int axis) const { return __size[axis]; }
    Vector<int> getSize() const;

    /// Coordinate of the element of this index on the axis.
    T position(int axis, int index) const { return T(__origin[axis] + double(index) * __step[axis]); }
    /// Fractional index of a coordinate: 0 at the first element. 0 on an axis of one element.
    double index(int axis, T coordinate) const;

    /// Coordinates of the first element.
    Vector<T> origin() const;
    /// Distance of neighbouring elements on each axis; on an axis of one element the width that it stands for.
    Vector<T> steps() const;
    /// Length that an element stands for.
    double extent(int axis, int index) const;

    /// The value at a place, linear between the elements; that of the nearest place within beyond the outermost ones.
    /// Throws SizeError when the map has another size or no element.
    T valueAt(const VoxelMatrix<T>& map, const Vector<T>& place) const;

    /// Sum of the elements times the volumes that they stand for, in double. Throws SizeError when sizes differ.
    double integral(const VoxelMatrix<T>& map) const;

    /// The same of one plane, added to the sum of those before it: the integral, when all have been.
    double integralWith(double sum, const PixelMatrix<T>& plane, int number) const;

    /// From indices of the map, as the marching cubes leave them, to coordinates.
    void toCoordinates(TriMesh<T>& surface) const;

    /// Throws SizeError, with this place, unless the map has the lattice's size.
    void requireSize(const VoxelMatrix<T>& map, const char* where) const;

private:
    MapLayout __layout;
    int __size[3];
    double __origin[3];
    double __step[3];
    double __extent[3];
};

/// The grid of this resolution around a box, grown about its middle to whole steps. A side without width gets one cell
/// with the box in its middle, or for nodes stays without width, its one node on the box: so a flat pattern lies in the
/// middle of its map. Throws SizeError unless the box is of space 3, ValueError unless it is finite and the resolution
/// above 0, and when the map would have more than maxElements.
template <class T>
Grid<T> gridAround(const BoundingBox<T>& box, T resolution, MapLayout layout, double maxElements = 1e9);

} // namespace vorlen
