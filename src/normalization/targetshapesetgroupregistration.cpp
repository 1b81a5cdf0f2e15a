#include "normalization/targetshapesetgroupregistration.h"

#include "normalization/shapesetgroup.h"
#include "normalization/shapesetregistration.h"
#include "numerics/exception.h"

namespace vorlen {

template <class T>
TargetShapeSetGroupRegistration<T>::~TargetShapeSetGroupRegistration() = default;

template <class T>
void TargetShapeSetGroupRegistration<T>::apply(ShapeSetGroup<T>& group) {
    if (!__target) {
        throw UsageError("void TargetShapeSetGroupRegistration<T>::apply(ShapeSetGroup<T>&)",
                         "No target shape set has been set");
    }
    const int n = group.getNumShapeSets();
    this->reset(group);
    this->notifyStarted("");
    this->recordError(this->errorType1(group));
    for (int i = 0; i < n; ++i) {
        ShapeSetRegistration<T> registration;
        registration.apply(group[i], *__target);
        this->__rotations[i] = registration.getRotationMatrix();
        this->__translations[i] = registration.getTranslationVector();
        this->__converged = this->__converged && registration.isConverged();
        this->notifyProgressed(static_cast<unsigned int>(i + 1), static_cast<unsigned int>(n));
    }
    this->recordError(this->errorType1(group));
    this->notifyFinished("");
}

template class TargetShapeSetGroupRegistration<float>;
template class TargetShapeSetGroupRegistration<double>;
template class TargetShapeSetGroupRegistration<long double>;

} // namespace vorlen
