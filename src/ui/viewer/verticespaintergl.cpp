#include "ui/viewer/verticespaintergl.h"

#include "shapes/curve.h"

namespace vorlen {

template <class T>
void VerticesPainterGL<T>::setShape(const Vertices<T>& vertices) {
    setShape(static_cast<const Shape<T>&>(vertices));
}

template <class T>
void VerticesPainterGL<T>::glDrawShape() const {
    this->drawVertices();
}

template <class T>
void VerticesPainterGL<T>::prepareShape() const {
    const auto* vertices = dynamic_cast<const Vertices<T>*>(this->getShape());
    if (vertices == nullptr)
        return;
    this->array.append(*vertices);
    if (const auto* curve = dynamic_cast<const Curve<T>*>(vertices))
        this->levels.push_back({0, curve->getNumVertices(), curve->isClosed()});
}

template class VerticesPainterGL<float>;
template class VerticesPainterGL<double>;
template class VerticesPainterGL<long double>;

} // namespace vorlen
