#include "images/filters/nearestinterpolation.h"

#include <cmath>

#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

// Index below size that is nearest to x. The comparisons come before the conversion, which huge values would not bear.
int nearestIndex(float x, int size) {
    const double rounded = std::floor(static_cast<double>(x) + 0.5);
    if (!(rounded > 0.0))
        return 0;
    return rounded < size - 1 ? static_cast<int>(rounded) : size - 1;
}

} // namespace

template <class T>
T NearestInterpolation<T>::eval(float x1, float x2, const PixelMatrix<T>& matrix) const {
    if (matrix.getSize1() < 1 || matrix.getSize2() < 1)
        throw SizeError("T NearestInterpolation<T>::eval(...) const", "This matrix is empty");
    return matrix[nearestIndex(x1, matrix.getSize1())][nearestIndex(x2, matrix.getSize2())];
}

template <class T>
T NearestInterpolation<T>::eval(float x1, float x2, float x3, const VoxelMatrix<T>& volume) const {
    if (volume.getSize3() < 1)
        throw SizeError("T NearestInterpolation<T>::eval(...) const", "This matrix is empty");
    return eval(x1, x2, volume[nearestIndex(x3, volume.getSize3())]);
}

template class NearestInterpolation<float>;
template class NearestInterpolation<double>;
template class NearestInterpolation<long double>;

} // namespace vorlen
