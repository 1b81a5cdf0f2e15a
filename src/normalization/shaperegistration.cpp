#include "normalization/shaperegistration.h"

namespace vorlen {

template <class T>
ShapeRegistration<T>::~ShapeRegistration() = default;

template class ShapeRegistration<float>;
template class ShapeRegistration<double>;
template class ShapeRegistration<long double>;

} // namespace vorlen
