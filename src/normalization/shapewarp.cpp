#include "normalization/shapewarp.h"

#include "numerics/exception.h"
#include "shapes/shape.h"

namespace vorlen {

template <class T>
ShapeWarp<T>::~ShapeWarp() = default;

template <class T>
void ShapeWarp<T>::checkCorrespondence(const Shape<T>& moving, const Shape<T>& target, const char* where) {
    if (moving.getSize() != target.getSize())
        throw ProgramError(where, "Moving and target shapes have distinct sizes");
    const int space = moving.getSpace();
    for (const Shape<T>* shape : {&moving, &target}) {
        for (ConstVertexIterator<T> it(*shape); it.current(); ++it)
            if (it.current()->getSize() != space)
                throw SizeError(where, "Incompatible vector dimensions");
    }
}

template class ShapeWarp<float>;
template class ShapeWarp<double>;
template class ShapeWarp<long double>;

} // namespace vorlen
