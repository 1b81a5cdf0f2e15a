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
                        const std::vector<MaskSurface<T>*>& masks)
    : __box(box), __lattice(lattice) {
    __box.rectify();
    __sides.reserve(masks.size());
    for (const MaskSurface<T>* mask : masks) {
        if (!mask->getTriMesh())
            throw UsageError("MapDomain<T>::MapDomain(...)", "A mask surface has no mesh");
        __sides.push_back({std::make_unique<TriMeshInterior<T>>(*mask->getTriMesh()), mask->isInsideMask()});
    }
}

template <class T>
void MapDomain<T>::look(const MapPlanes& planes, ParallelWork& work) {
    __planes = planes;
    if (__sides.empty())
        return;
    const int rows = __lattice.getSize(0), columns = __lattice.getSize(1);
    __inside.assign(std::size_t(rows) * std::size_t(columns) * std::size_t(planes.count()), 0);
    work.run(planes.count() * rows, 0, [&](int number, int /*worker*/) {
        Vector<T> place(3);
        place[0] = __lattice.position(0, number % rows);
        place[2] = __lattice.position(2, planes.first + number / rows);
        unsigned char* const row = __inside.data() + std::size_t(number) * std::size_t(columns);
        for (int j = 0; j < columns; ++j) {
            place[1] = __lattice.position(1, j);
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
