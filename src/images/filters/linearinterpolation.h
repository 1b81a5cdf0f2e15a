#pragma once

#include "images/filters/interpolation.h"

namespace vorlen {

/// Weighs the elements at the corners of the cell around the position: bilinear in a matrix, trilinear in a volume.
/// A position whose cell is not complete, as in the last row, column or plane, takes the value of
/// NearestInterpolation.
template <class T>
class LinearInterpolation : public Interpolation<T> {
public:
    using Interpolation<T>::eval;
    T eval(float x1, float x2, const PixelMatrix<T>& matrix) const override;
    T eval(float x1, float x2, float x3, const VoxelMatrix<T>& volume) const override;
};

} // namespace vorlen
