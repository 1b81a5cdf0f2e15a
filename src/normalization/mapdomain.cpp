#include "normalization/mapdomain.h"

#include <cmath>

#include "images/filters/parallelwork.h"
#include "numerics/exception.h"
#include "shapes/masksurface.h"
#include "shapes/shape.h"
#include "shapes/trimesh.h"
#include "shapes/trimeshinterior.h"

namespace vorlen {

template <class T>
MapDomain<T>::MapDomain(const BoundingBox<T>& box, const MapLattice<T>& lattice,
                        const std::vector<MaskSurface<T>*>& masks, ParallelWork& work)
    : __box(box) {
    __box.rectify();
    __sides.reserve(masks.size());
    for (const MaskSurface<T>* mask : masks) {
        if (!mask->getTriMesh())
            throw UsageError("MapDomain<T>::MapDomain(...)", "A mask surface has no mesh");
        __sides.push_back({std::make_unique<TriMeshInterior<T>>(*mask->getTriMesh()), mask->isInsideMask()});
    }
    if (__sides.empty())
        return;
    const int rows = lattice.getSize(0), columns = lattice.getSize(1), planes = lattice.getSize(2);
    __inside.assign(std::size_t(rows) * std::size_t(columns) * std::size_t(planes), 0);
    work.run(planes * rows, 0, [&](int number, int /*worker*/) {
        Vector<T> place(3);
        place[0] = lattice.position(0, number % rows);
        place[2] = lattice.position(2, number / rows);
        unsigned char* const row = __inside.data() + std::size_t(number) * std::size_t(columns);
        for (int j = 0; j < columns; ++j) {
            place[1] = lattice.position(1, j);
            row[j] = passesMasks(place) ? 1 : 0;
        }
    });
}

template <class T>
MapDomain<T>::~MapDomain() = default;

template <class T>
bool MapDomain<T>::passesMasks(const Vector<T>& place) const {
    for (const Side& side : __sides)
        if (side.interior->contains(place) != side.inside)
            return false;
    return true;
}

template <class T>
std::vector<T> MapDomain<T>::pointsOf(const Shape<T>& pattern) const {
    std::vector<T> points;
    points.reserve(3 * std::size_t(pattern.getNumVertices()));
    for (ConstVertexIterator<T> it(pattern); it.current(); ++it) {
        const Vector<T>& v = *it.current();
        if (__box.contains(v) && passesMasks(v)) // a box holds no place that is no number
            points.insert(points.end(), v.data(), v.data() + 3);
    }
    return points;
}

template class MapDomain<float>;
template class MapDomain<double>;
template class MapDomain<long double>;

} // namespace vorlen
