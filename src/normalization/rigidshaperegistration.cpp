#include "normalization/rigidshaperegistration.h"

#include "normalization/rigidmotion.h"
#include "numerics/exception.h"

namespace vorlen {

template <class T>
RigidShapeRegistration<T>::~RigidShapeRegistration() = default;

template <class T>
void RigidShapeRegistration<T>::apply(Vector<T>& v) const {
    if (v.getSize() != __translation.getSize()) {
        throw SizeError("void RigidShapeRegistration<T>::apply(Vector<T>&) const",
                        "Incompatible vector and transform dimensions");
    }
    RigidMotion::move(__rotation, __translation, v);
}

template class RigidShapeRegistration<float>;
template class RigidShapeRegistration<double>;
template class RigidShapeRegistration<long double>;

} // namespace vorlen
