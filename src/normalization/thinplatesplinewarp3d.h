#pragma once

#include "normalization/radialbasisfunctionwarp.h"

namespace vorlen {

/// Thin-plate spline of space: the warp of least bending energy through the control points. The kernel is the distance.
template <class T>
class ThinPlateSplineWarp3D : public RadialBasisFunctionWarp<T> {
public:
    T rbf(const Vector<T>& a, const Vector<T>& b) const override;

protected:
    using Wide = typename RadialBasisFunctionWarp<T>::Wide;
    using Points = typename RadialBasisFunctionWarp<T>::Points;
    void kernelValues(const Points& points, const Wide* v, int first, int count, Wide* values) const override;
};

} // namespace vorlen
