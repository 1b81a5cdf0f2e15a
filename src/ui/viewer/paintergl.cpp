#include "ui/viewer/paintergl.h"

namespace vorlen {

template <class T>
PainterGL<T>::~PainterGL() = default;

template <class T>
BoundingBox<T> PainterGL<T>::boundingBox() const {
    return {};
}

template <class T>
bool PainterGL<T>::isOpaque() const {
    return true;
}

template <class T>
void PainterGL<T>::glDraw() const {
}

template class PainterGL<float>;
template class PainterGL<double>;
template class PainterGL<long double>;

} // namespace vorlen
