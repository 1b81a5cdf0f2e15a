#include "shapes/grid.h"

#include "numerics/exception.h"

namespace vorlen {

template <class T>
void Grid<T>::__check(const char* where) const {
    if (!isValid()) {
        UsageError error;
        error.setWhere(where);
        error.setWhat("The grid has no valid bounding box and size");
        throw error;
    }
}

template <class T>
void Grid<T>::setBoundingBox(const BoundingBox<T>& boundingBox) {
    __boundingBox = boundingBox;
}

template <class T>
void Grid<T>::setSize(const Vector<int>& size) {
    __size = size;
}

template <class T>
bool Grid<T>::isValid() const {
    return __boundingBox.isValid() && __size.getSize() == __boundingBox.getVertex1().getSize();
}

template <class T>
Vector<T> Grid<T>::resolutions() const {
    __check("Vector<T> Grid<T>::resolutions() const");
    Vector<T> result(__size.getSize());
    for (int axis = 0; axis < __size.getSize(); axis++)
        result[axis] = __boundingBox.width(axis) / T(__size[axis]);
    return result;
}

template <class T>
void Grid<T>::adjustToResolution(T r) {
    if (!(r > 0)) {
        ValueError error;
        error.setWhere("void Grid<T>::adjustToResolution(const T)");
        error.setWhat("The resolution is not above 0");
        throw error;
    }
    __size = __boundingBox.adjustToResolution(r);
}

template <class T>
void Grid<T>::centers(std::vector<Vector<T>>& out) const {
    __check("void Grid<T>::centers(std::vector<Vector<T>>&) const");
    const int space = __size.getSize();
    out.resize(space);
    for (int axis = 0; axis < space; axis++) {
        const int cells = __size[axis] > 0 ? __size[axis] : 0;
        const T width = __boundingBox.width(axis);
        const T origin = __boundingBox.getVertex1()[axis];
        Vector<T>& axisCenters = out[axis];
        axisCenters.setSize(cells);
        for (int i = 0; i < cells; i++)
            axisCenters[i] = (T(i) + T(0.5)) * width / T(cells) + origin;
    }
}

template class Grid<float>;
template class Grid<double>;
template class Grid<long double>;

} // namespace vorlen
