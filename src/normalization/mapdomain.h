#pragma once

#include <memory>
#include <vector>

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
/// Tells for each element of a lattice of cells whether its centre belongs to it, and gives of a pattern the points
/// that lie in it. Instantiated for float, double and long double.
template <class T>
class MapDomain {
public:
    /// Looks at all elements, in parallel; when the work is cancelled the rest counts as outside. The surfaces are
    /// not needed afterwards. Throws UsageError for a mask without a mesh, SizeError for one that is not of space 3.
    MapDomain(const BoundingBox<T>& box, const MapLattice<T>& lattice, const std::vector<MaskSurface<T>*>& masks,
              ParallelWork& work);
    ~MapDomain();

    /// Whether masks exclude anything of the box.
    bool isMasked() const { return !__inside.empty(); }
    /// For each element, (plane * rows + row) * columns + column, 1 within the domain, else 0; empty without masks.
    const std::vector<unsigned char>& inside() const { return __inside; }

    /// Coordinates of the pattern's points in the domain, three numbers each, in their order.
    std::vector<T> pointsOf(const Shape<T>& pattern) const;

private:
    struct Side {
        std::unique_ptr<TriMeshInterior<T>> interior;
        bool inside;
    };

    bool passesMasks(const Vector<T>& place) const;

    BoundingBox<T> __box;
    std::vector<Side> __sides;
    std::vector<unsigned char> __inside;
};

} // namespace vorlen
