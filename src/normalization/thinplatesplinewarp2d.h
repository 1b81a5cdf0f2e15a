#pragma once

#include "normalization/radialbasisfunctionwarp.h"

/// Thin-plate spline of the plane: the warp of least bending energy through the control points. Kernel r^2 ln r^2.
template <class T>
class ThinPlateSplineWarp2D : public RadialBasisFunctionWarp<T> {
public:
    /// With r2 the squared distance: r2 ln(r2) if r2 is above Vector<T>::epsilon(), else 0.
    T rbf(const Vector<T>& a, const Vector<T>& b) const override;

protected:
    using Points = typename RadialBasisFunctionWarp<T>::Points;
    void kernelValues(const Points& points, const Vector<T>& v, int first, int count, T* values) const override;

private:
    T __kernel(T squareDistance) const;

    T __epsilon = Vector<T>::epsilon();
};
