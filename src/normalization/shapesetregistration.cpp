#include "normalization/shapesetregistration.h"

#include <algorithm>
#include <cmath>

#include "normalization/leastsquaresrigidshaperegistration.h"
#include "normalization/rigidmotion.h"
#include "normalization/shapesetgroupregistration.h"
#include "numerics/exception.h"
#include "shapes/shapeset.h"
#include "shapes/vertexstack.h"

namespace vorlen {

template <class T>
void ShapeSetRegistration<T>::apply(ShapeSet<T>& moving, const ShapeSet<T>& target) {
    int space = 0;
    for (int i = moving.getSize() - 1; i >= 0 && space == 0; --i)
        space = moving[i] ? moving[i]->getSpace() : 0;
    __rotation.setIdentity(space);
    __translation.setZeros(space);
    __dynamics.clear();
    __converged = true;
    if (&moving == &target)
        return;

    const ShapeSet<T> fixed = target.referenceShapeSet();
    ShapeSet<T> movable = moving.referenceShapeSet(); // shares the shapes, and so moves along
    if (fixed.getSize() == 0 || movable.getSize() == 0) {
        throw UsageError("void ShapeSetRegistration<T>::apply(ShapeSet<T>&, const ShapeSet<T>&)",
                         "A shape set has no reference shape");
    }
    const VertexStack<T> fixedVertices = fixed.asVertexStack();
    const T epsilon = Vector<T>::epsilon();
    LeastSquaresRigidShapeRegistration<T> fit;

    movable.matchSurfaces(fixed);
    float error = ShapeSetGroupRegistration<T>::mean(movable.rmsDistances(fixed));
    __dynamics.push_back(error);
    bool changed = true;
    for (int round = 0;; ++round) {
        if (round == maxRounds) {
            __converged = false;
            return;
        }
        const float previous = error;
        const bool repeats = !changed;
        fit.fit(movable.asVertexStack(), fixedVertices);
        fit.apply(moving);
        RigidMotion::follow(__rotation, __translation, fit.getRotationMatrix(), fit.getTranslationVector());
        const Vector<int> shifts = movable.matchSurfaces(fixed);
        changed = std::any_of(shifts.begin(), shifts.end(), [](int shift) { return shift != 0; });
        error = ShapeSetGroupRegistration<T>::mean(movable.rmsDistances(fixed));
        __dynamics.push_back(error);
        if (repeats || std::abs((T(error) - T(previous)) / (T(previous) + epsilon)) <= epsilon)
            return;
    }
}

template class ShapeSetRegistration<float>;
template class ShapeSetRegistration<double>;
template class ShapeSetRegistration<long double>;

} // namespace vorlen
