#include "normalization/targetshapesetgroupwarping.h"

#include "normalization/polynomialwarp.h"
#include "normalization/shapesetgroup.h"
#include "numerics/exception.h"
#include "shapes/shapeset.h"
#include "shapes/vertexstack.h"

namespace vorlen {

template <class T>
void TargetShapeSetGroupWarping<T>::apply(ShapeSetGroup<T>& group, int degree) {
    if (!__target) {
        throw UsageError("void TargetShapeSetGroupWarping<T>::apply(ShapeSetGroup<T>&, int)",
                         "No target shape set has been set");
    }
    const VertexStack<T> target = __target->referenceShapeSet().asVertexStack();
    const int n = group.getNumShapeSets();
    notifyStarted("");
    notifyProgressed(1, static_cast<unsigned int>(n + 1));
    __evaluations = 0;
    __jacobianErrors = 0;
    for (int i = 0; i < n; ++i) {
        ShapeSet<T>& set = group[i];
        PolynomialWarp<T> warp;
        warp.setDegree(degree);
        warp.fit(set.referenceShapeSet().asVertexStack(), target);
        warp.apply(set);
        __evaluations += static_cast<unsigned int>(set.numVertices());
        __jacobianErrors += warp.jacobianErrors(set);
        notifyProgressed(static_cast<unsigned int>(i + 2), static_cast<unsigned int>(n + 1));
    }
    notifyFinished("");
}

template class TargetShapeSetGroupWarping<float>;
template class TargetShapeSetGroupWarping<double>;
template class TargetShapeSetGroupWarping<long double>;

} // namespace vorlen
