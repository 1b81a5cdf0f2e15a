#include "shapes/masksurface.h"

namespace vorlen {

template <class T>
void MaskSurface<T>::setTriMesh(TriMesh<T>& mesh) {
    __triMesh = &mesh;
}

template <class T>
void MaskSurface<T>::setInsideMask(bool inside) {
    __insideMask = inside;
}

template class MaskSurface<int>;
template class MaskSurface<float>;
template class MaskSurface<double>;
template class MaskSurface<long double>;

} // namespace vorlen
