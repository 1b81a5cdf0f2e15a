#include "shapes/vertexiterator.h"

#include "shapes/shape.h"

namespace vorlen {

template <class T>
ConcreteVertexIterator<T>::~ConcreteVertexIterator() = default;

template <class T>
std::unique_ptr<ConcreteVertexIterator<T>> ConcreteVertexIterator<T>::clone() const {
    return std::make_unique<ConcreteVertexIterator<T>>(*this);
}

template <class T>
Vector<T>* ConcreteVertexIterator<T>::current() {
    return __current;
}

template <class T>
const Vector<T>* ConcreteVertexIterator<T>::current() const {
    return __current;
}

template <class T>
const Vector<unsigned int>& ConcreteVertexIterator<T>::locator() const {
    return __locator;
}

template <class T>
int ConcreteVertexIterator<T>::currentServerIndex() const {
    return -1;
}

template <class T>
void ConcreteVertexIterator<T>::operator++(int) {
}

template <class T>
void ConcreteVertexIterator<T>::operator++() {
}

template <class T>
void ConcreteVertexIterator<T>::rewind() {
}

template <class T>
VertexIterator<T>::VertexIterator(Shape<T>& shape) : __iterator(shape.vertexIterator()) {
}

template <class T>
ConstVertexIterator<T>::ConstVertexIterator(const Shape<T>& shape) : __iterator(shape.vertexIterator()) {
}

template class ConcreteVertexIterator<int>;
template class ConcreteVertexIterator<float>;
template class ConcreteVertexIterator<double>;
template class ConcreteVertexIterator<long double>;
template class VertexIterator<int>;
template class VertexIterator<float>;
template class VertexIterator<double>;
template class VertexIterator<long double>;
template class ConstVertexIterator<int>;
template class ConstVertexIterator<float>;
template class ConstVertexIterator<double>;
template class ConstVertexIterator<long double>;

} // namespace vorlen
