#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "normalization/mapblock.h"
#include "normalization/maplattice.h"

namespace vorlen {

class ParallelWork;
template <class T>
class MaskSurface;
template <class T>
class Shape;
template <class T>
class TriMeshInterior;

/// The part of space in which points could have been found at all: a box, less what masks exclude.
///
/// Tells for the elements of a lattice of cells, those of the planes that it is to look at, whether their centres
/// belong to it, and gives of a pattern the points that lie in it. Instantiated for float, double and long double.
template <class T>
class MapDomain {
public:
    /// The surfaces are not needed afterwards. Throws UsageError for a mask without a mesh, SizeError for one that is
    /// not of space 3.
    MapDomain(const BoundingBox<T>& box, const MapLattice<T>& lattice, const std::vector<MaskSurface<T>*>& masks);
    ~MapDomain();

    /// Looks at the elements of these planes, in parallel, and forgets others; nothing to do without masks. When the
    /// work is cancelled the rest counts as outside.
    void look(const MapPlanes& planes, ParallelWork& work);

    /// Whether masks may exclude something of the box.
    bool isMasked() const { return !__sides.empty(); }
    /// The planes that were looked at last.
    const MapPlanes& planes() const { return __planes; }
    /// For each of their elements, ((plane - planes().first) * rows + row) * columns + column, 1 within the domain,
    /// else 0; empty without masks.
    const std::vector<unsigned char>& inside() const { return __inside; }

    /// Of an element of a plane that was looked at; only with masks.
    bool isInside(int plane, int row, int column) const {
        return __inside[(std::size_t(plane - __planes.first) * std::size_t(__lattice.getSize(0)) + std::size_t(row)) *
                            std::size_t(__lattice.getSize(1)) +
                        std::size_t(column)] != 0;
    }

    /// Coordinates of the pattern's points in the domain, three numbers each, in their order.
    std::vector<T> pointsOf(const Shape<T>& pattern) const;

private:
    struct Side {
        std::unique_ptr<TriMeshInterior<T>> interior;
        bool inside;
    };

    bool passesMasks(const Vector<T>& place) const;

    BoundingBox<T> __box;
    MapLattice<T> __lattice;
    MapPlanes __planes;
    std::vector<Side> __sides;
    std::vector<unsigned char> __inside;
};

} // namespace vorlen
