#pragma once

#include "images/filters/interpolation.h"

namespace vorlen {

/// Takes the element nearest to the position: each coordinate plus one half, rounded down.
template <class T>
class NearestInterpolation : public Interpolation<T> {
public:
    using Interpolation<T>::eval;
    T eval(float x1, float x2, const PixelMatrix<T>& matrix) const override;
    T eval(float x1, float x2, float x3, const VoxelMatrix<T>& volume) const override;
};

} // namespace vorlen
