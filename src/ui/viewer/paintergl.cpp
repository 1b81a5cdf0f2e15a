#include "ui/viewer/paintergl.h"

#include <algorithm>

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

template <class T>
void PainterGL<T>::addPoints(std::vector<float>& points) const {
    const BoundingBox<T> box = boundingBox();
    if (!box.isValid())
        return;
    const int axes = std::min(box.getVertex1().getSize(), 3);
    for (int corner = 0; corner < 8; ++corner)
        for (int k = 0; k < 3; ++k)
            points.push_back(k >= axes ? 0.0f : float((corner >> k & 1) != 0 ? box.max(k) : box.min(k)));
}

template <class T>
bool PainterGL<T>::addTriangles(TrianglesGL&) const {
    return false;
}

template <class T>
std::uint64_t PainterGL<T>::revision() const {
    return 0;
}

template class PainterGL<float>;
template class PainterGL<double>;
template class PainterGL<long double>;

} // namespace vorlen
