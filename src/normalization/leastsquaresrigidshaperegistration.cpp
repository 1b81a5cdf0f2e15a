#include "normalization/leastsquaresrigidshaperegistration.h"

#include "numerics/exception.h"
#include "shapes/shape.h"

namespace vorlen {

template <class T>
LeastSquaresRigidShapeRegistration<T>::~LeastSquaresRigidShapeRegistration() = default;

template <class T>
void LeastSquaresRigidShapeRegistration<T>::fit(const Shape<T>& moving, const Shape<T>& target) {
    if (moving.getSize() != target.getSize())
        throw ProgramError("void RigidShapeRegistration<T>::fit(...)", "Moving and target shapes have distinct sizes");
    moving.computeLSRegistration(this->__translation, this->__rotation, target);
}

template class LeastSquaresRigidShapeRegistration<float>;
template class LeastSquaresRigidShapeRegistration<double>;
template class LeastSquaresRigidShapeRegistration<long double>;

} // namespace vorlen
