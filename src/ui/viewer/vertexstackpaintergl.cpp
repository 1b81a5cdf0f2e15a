#include "ui/viewer/vertexstackpaintergl.h"

#include "shapes/curve.h"

namespace vorlen {

template <class T>
void VertexStackPainterGL<T>::setShape(const VertexStack<T>& stack) {
    setShape(static_cast<const Shape<T>&>(stack));
}

template <class T>
void VertexStackPainterGL<T>::glDrawShape() const {
    this->drawVertices();
}

template <class T>
void VertexStackPainterGL<T>::prepareShape() const {
    const auto* stack = dynamic_cast<const VertexStack<T>*>(this->getShape());
    if (stack == nullptr)
        return;
    for (int i = 0; i < stack->getHeight(); ++i) {
        const Vertices<T>& level = (*stack)[i];
        const int first = this->array.getSize();
        this->array.append(level);
        if (const auto* curve = dynamic_cast<const Curve<T>*>(&level))
            this->levels.push_back({first, curve->getNumVertices(), curve->isClosed()});
    }
}

template class VertexStackPainterGL<float>;
template class VertexStackPainterGL<double>;
template class VertexStackPainterGL<long double>;

} // namespace vorlen
