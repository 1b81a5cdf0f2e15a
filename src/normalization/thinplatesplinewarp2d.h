#pragma once

#include "normalization/radialbasisfunctionwarp.h"

namespace vorlen {

/// Thin-plate spline of the plane: the warp of least bending energy through the control points. Kernel r^2 ln r^2.
///
/// Points nearer than the root of Vector<T>::epsilon() count as coincident in the kernel, 0.001 for float: coordinates
/// belong in a unit in which neighbouring control points are further apart.
template <class T>
class ThinPlateSplineWarp2D : public RadialBasisFunctionWarp<T> {
public:
    /// With r2 the squared distance: r2 ln(r2) if r2 is above Vector<T>::epsilon(), else 0.
    T rbf(const Vector<T>& a, const Vector<T>& b) const override;

protected:
    using Wide = typename RadialBasisFunctionWarp<T>::Wide;
    using Points = typename RadialBasisFunctionWarp<T>::Points;
    void kernelValues(const Points& points, const Wide* v, int first, int count, Wide* values) const override;

private:
    T __epsilon = Vector<T>::epsilon();
};

} // namespace vorlen
