#include "normalization/maplattice.h"

#include <algorithm>
#include <cmath>

#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "shapes/trimesh.h"

namespace vorlen {

template <class T>
MapLattice<T>::MapLattice(MapLayout layout, const BoundingBox<T>& box, const Vector<int>& size) : __layout(layout) {
    if (!box.isValid() || box.getVertex1().getSize() != 3 || size.getSize() != 3)
        throw SizeError("MapLattice<T>::MapLattice(MapLayout, const BoundingBox<T>&, const Vector<int>&)",
                        "The bounding box is not one of space 3");
    for (int a = 0; a < 3; ++a) {
        const double lower = std::min(double(box.getVertex1()[a]), double(box.getVertex2()[a]));
        const double width = std::max(double(box.getVertex1()[a]), double(box.getVertex2()[a])) - lower;
        const int n = __size[a] = std::max(size[a], 0);
        const bool cells = layout == MapLayout::Cells;
        __step[a] = n > (cells ? 0 : 1) ? width / (cells ? n : n - 1) : 0;
        __origin[a] = lower + (cells ? __step[a] / 2 : 0);
        __extent[a] = n > 1 ? __step[a] : width;
        if (!(__extent[a] > 0))
            __extent[a] = 1;
    }
}

template <class T>
Vector<int> MapLattice<T>::getSize() const {
    Vector<int> size(3);
    std::copy_n(__size, 3, size.data());
    return size;
}

template <class T>
double MapLattice<T>::index(int axis, T coordinate) const {
    return __size[axis] > 1 && __step[axis] > 0 ? (double(coordinate) - __origin[axis]) / __step[axis] : 0;
}

template <class T>
Vector<T> MapLattice<T>::origin() const {
    Vector<T> origin(3);
    for (int a = 0; a < 3; ++a)
        origin[a] = T(__origin[a]);
    return origin;
}

template <class T>
Vector<T> MapLattice<T>::steps() const {
    Vector<T> steps(3);
    for (int a = 0; a < 3; ++a)
        steps[a] = T(__extent[a]);
    return steps;
}

template <class T>
double MapLattice<T>::extent(int axis, int index) const {
    const bool onFace = __layout == MapLayout::Nodes && __size[axis] > 1 && (index == 0 || index == __size[axis] - 1);
    return onFace ? __extent[axis] / 2 : __extent[axis];
}

template <class T>
void MapLattice<T>::requireSize(const VoxelMatrix<T>& map, const char* where) const {
    if (map.getSize1() != __size[0] || map.getSize2() != __size[1] || map.getSize3() != __size[2])
        throw SizeError(where, "The sizes of map and grid differ");
}

template <class T>
T MapLattice<T>::valueAt(const VoxelMatrix<T>& map, const Vector<T>& place) const {
    const char* const where = "T MapLattice<T>::valueAt(const VoxelMatrix<T>&, const Vector<T>&) const";
    requireSize(map, where);
    if (place.getSize() != 3 || std::min({__size[0], __size[1], __size[2]}) < 1)
        throw SizeError(where, "There is no density at any point");
    int first[3], second[3];
    T part[3];
    for (int a = 0; a < 3; ++a) {
        const double last = __size[a] - 1;
        const double at = index(a, place[a]);
        const double within = at > 0 ? std::min(at, last) : 0; // also for what is no number
        first[a] = int(within);
        second[a] = std::min(first[a] + 1, __size[a] - 1);
        part[a] = T(within - first[a]);
    }
    // Infinite densities must not make an undefined one beside or between them.
    const auto between = [](T low, T high, T share) {
        return share > T(0) && low != high ? low + share * (high - low) : low;
    };
    const auto inPlane = [&](int k) {
        const auto along = [&](int i) {
            const T* const row = map[k][i].data();
            return between(row[first[1]], row[second[1]], part[1]);
        };
        return between(along(first[0]), along(second[0]), part[0]);
    };
    return between(inPlane(first[2]), inPlane(second[2]), part[2]);
}

template <class T>
double MapLattice<T>::integral(const VoxelMatrix<T>& map) const {
    requireSize(map, "double MapLattice<T>::integral(const VoxelMatrix<T>&) const");
    double sum = 0;
    for (int k = 0; k < __size[2]; ++k)
        sum = integralWith(sum, map[k], k);
    return sum;
}

template <class T>
double MapLattice<T>::integralWith(double sum, const PixelMatrix<T>& plane, int number) const {
    for (int i = 0; i < __size[0]; ++i) {
        const T* const row = plane[i].data();
        double along = 0;
        for (int j = 0; j < __size[1]; ++j)
            along += double(row[j]) * extent(1, j);
        sum += along * extent(0, i) * extent(2, number);
    }
    return sum;
}

template <class T>
void MapLattice<T>::toCoordinates(TriMesh<T>& surface) const {
    Vector<T> steps(3);
    for (int a = 0; a < 3; ++a)
        steps[a] = T(__step[a]);
    surface.scale(steps);
    surface.translate(origin());
}

template <class T>
Grid<T> gridAround(const BoundingBox<T>& givenBox, T resolution, MapLayout layout, double maxElements) {
    const char* const where = "Grid<T> gridAround(const BoundingBox<T>&, T, MapLayout, double)";
    if (!givenBox.isValid() || givenBox.getVertex1().getSize() != 3)
        throw SizeError(where, "The bounding box is not one of space 3");
    BoundingBox<T> box(givenBox);
    box.rectify();
    if (!(resolution > 0))
        throw ValueError(where, "The resolution is not above 0");
    double elements = 1;
    Vector<T> margins(3);
    for (int a = 0; a < 3; ++a) {
        if (!std::isfinite(box.min(a)) || !std::isfinite(box.max(a)))
            throw ValueError(where, "a point has no finite coordinates");
        margins[a] = box.width(a) > 0 ? T(0) : resolution / 2;
        elements *= std::max(1.0, std::ceil(double(box.width(a)) / double(resolution)));
    }
    if (!(elements <= maxElements))
        throw ValueError(where, "the map would have more elements than allowed; take a coarser resolution");
    const BoundingBox<T> flat(box);
    box.expand(margins);
    Grid<T> grid;
    grid.setBoundingBox(box);
    grid.adjustToResolution(resolution);
    BoundingBox<T> adjusted = grid.getBoundingBox();
    Vector<T> lower = adjusted.getVertex1(), upper = adjusted.getVertex2();
    Vector<int> size = grid.getSize();
    for (int a = 0; a < 3; ++a) {
        if (flat.width(a) > 0)
            continue;
        // A half step may be lost in the rounding of a far coordinate.
        size[a] = 1;
        if (layout == MapLayout::Nodes)
            lower[a] = upper[a] = flat.min(a);
    }
    grid.setBoundingBox(BoundingBox<T>(lower, upper));
    grid.setSize(size);
    return grid;
}

template class MapLattice<float>;
template class MapLattice<double>;
template class MapLattice<long double>;
template Grid<float> gridAround(const BoundingBox<float>&, float, MapLayout, double);
template Grid<double> gridAround(const BoundingBox<double>&, double, MapLayout, double);
template Grid<long double> gridAround(const BoundingBox<long double>&, long double, MapLayout, double);

} // namespace vorlen
