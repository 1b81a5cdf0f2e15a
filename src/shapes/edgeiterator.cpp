#include "shapes/edgeiterator.h"

#include "shapes/edge.h"
#include "shapes/shape.h"

namespace vorlen {

template <class T>
ConcreteEdgeIterator<T>::ConcreteEdgeIterator() = default;

template <class T>
ConcreteEdgeIterator<T>::~ConcreteEdgeIterator() = default;

template <class T>
Edge<T>* ConcreteEdgeIterator<T>::current() const {
    return __edge.get();
}

template <class T>
void ConcreteEdgeIterator<T>::operator++(int) {
}

template <class T>
void ConcreteEdgeIterator<T>::rewind() {
}

template <class T>
EdgeIterator<T>::EdgeIterator(Shape<T>& shape) : __iterator(shape.edgeIterator()) {
}

template <class T>
ConstEdgeIterator<T>::ConstEdgeIterator(const Shape<T>& shape) : __iterator(shape.edgeIterator()) {
}

template class ConcreteEdgeIterator<int>;
template class ConcreteEdgeIterator<float>;
template class ConcreteEdgeIterator<double>;
template class ConcreteEdgeIterator<long double>;
template class EdgeIterator<int>;
template class EdgeIterator<float>;
template class EdgeIterator<double>;
template class EdgeIterator<long double>;
template class ConstEdgeIterator<int>;
template class ConstEdgeIterator<float>;
template class ConstEdgeIterator<double>;
template class ConstEdgeIterator<long double>;

} // namespace vorlen
