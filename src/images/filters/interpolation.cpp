#include "images/filters/interpolation.h"

namespace vorlen {

template <class T>
Interpolation<T>::~Interpolation() = default;

template <class T>
T Interpolation<T>::eval(const Vector<float>& position, const PixelMatrix<T>& matrix) const {
    return eval(position[0], position[1], matrix);
}

template <class T>
T Interpolation<T>::eval(const Vector<float>& position, const VoxelMatrix<T>& volume) const {
    return eval(position[0], position[1], position[2], volume);
}

template class Interpolation<float>;
template class Interpolation<double>;
template class Interpolation<long double>;

} // namespace vorlen
