#include "shapes/shapeinterpolation.h"

#include "numerics/elementtype.h"
#include "shapes/shape.h"
#include "shapes/vertexiterator.h"

#include <memory>

namespace vorlen {

template <class T>
void ShapeInterpolation<T>::apply(T step, Shape<T>& result) const {
    const char* where = "void ShapeInterpolation<T>::apply(const T, Shape<T>&)";
    if (!__source || !__target)
        throw ProgramError(where, "Missing source and/or target shape");
    if (!(step >= 0 && step <= 1))
        throw UsageError(where, "Interpolation step out of [0-1] range");
    if (__source->getNumVertices() != __target->getNumVertices() || __source->getSpace() != __target->getSpace())
        throw SizeError(where, "The two shapes have distinct sizes");
    if (step == 1) {
        result = *__target;
        result.detach();
        return;
    }
    std::unique_ptr<Shape<T>> targetCopy;
    if (&result == __target) {
        targetCopy.reset(__target->clone());
        targetCopy->detach();
    }
    const Shape<T>& target = targetCopy ? *targetCopy : *__target;
    result = *__source;
    result.detach();
    if (step > 0) {
        VertexIterator<T> vertex(result);
        ConstVertexIterator<T> end(target);
        for (; vertex.current() && end.current(); ++vertex, ++end) {
            T* x = vertex.current()->data();
            const T* y = end.current()->data();
            const int space = vertex.current()->getSize();
            for (int k = 0; k < space; k++)
                x[k] += step * (y[k] - x[k]);
        }
    }
}

template class ShapeInterpolation<int>;
template class ShapeInterpolation<float>;
template class ShapeInterpolation<double>;
template class ShapeInterpolation<long double>;

} // namespace vorlen
