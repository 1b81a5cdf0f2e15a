#include "normalization/shapetransform.h"

#include "shapes/shape.h"
#include "shapes/shapeset.h"

namespace vorlen {

template <class T>
ShapeTransform<T>::~ShapeTransform() = default;

template <class T>
void ShapeTransform<T>::apply(Shape<T>& shape) {
    for (VertexIterator<T> it(shape); it.current(); ++it)
        apply(*it.current());
    if (shape.hasExtensions())
        apply(shape.getExtensions());
}

template <class T>
void ShapeTransform<T>::apply(ShapeSet<T>& set) {
    __visitShapes(
        set, [this](Shape<T>& shape) { apply(shape); });
}

template <class T>
bool ShapeTransform<T>::isValidAt(const Vector<T>&) const {
    return true;
}

template <class T>
unsigned int ShapeTransform<T>::jacobianErrors(const Shape<T>& shape) const {
    unsigned int errors = 0;
    for (ConstVertexIterator<T> it(shape); it.current(); ++it)
        errors += isValidAt(*it.current()) ? 0 : 1;
    if (shape.hasExtensions()) {
        const ShapeSet<T>& extensions = shape.getExtensions();
        for (int i = 0; i < extensions.getSize(); ++i)
            errors += extensions[i] ? jacobianErrors(*extensions[i]) : 0;
    }
    return errors;
}

template <class T>
unsigned int ShapeTransform<T>::jacobianErrors(const ShapeSet<T>& set) {
    unsigned int errors = 0;
    __visitShapes(set, [this, &errors](const Shape<T>& shape) { errors += jacobianErrors(shape); });
    return errors;
}

template <class T>
template <class Set, class Visit>
void ShapeTransform<T>::__visitShapes(Set& set, Visit visit) {
    notifyStarted("");
    const int n = set.getSize();
    for (int i = 0; i < n; ++i) {
        if (Shape<T>* shape = set[i])
            visit(*shape);
        notifyProgressed(static_cast<unsigned int>(i + 1), static_cast<unsigned int>(n));
    }
    notifyFinished("");
}

template class ShapeTransform<float>;
template class ShapeTransform<double>;
template class ShapeTransform<long double>;

} // namespace vorlen
