#include "images/filters/linearinterpolation.h"

#include <cmath>

#include "images/filters/nearestinterpolation.h"
#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"

namespace vorlen {

namespace {

// A cell is complete when its first element, not yet an integer here, has one behind it.
bool isComplete(float first, int size) {
    return first >= 0.0f && first < static_cast<float>(size - 1);
}

template <class T>
T cellValue(const PixelMatrix<T>& matrix, int r, int c, T u, T v) {
    const T* const upper = matrix[r].data() + c;
    const T* const lower = matrix[r + 1].data() + c;
    return (T(1) - v) * ((T(1) - u) * upper[0] + u * lower[0]) + v * ((T(1) - u) * upper[1] + u * lower[1]);
}

} // namespace

template <class T>
T LinearInterpolation<T>::eval(float x1, float x2, const PixelMatrix<T>& matrix) const {
    const float r = std::floor(x1), c = std::floor(x2);
    if (!isComplete(r, matrix.getSize1()) || !isComplete(c, matrix.getSize2()))
        return NearestInterpolation<T>().eval(x1, x2, matrix);
    return cellValue<T>(matrix, static_cast<int>(r), static_cast<int>(c), x1 - r, x2 - c);
}

template <class T>
T LinearInterpolation<T>::eval(float x1, float x2, float x3, const VoxelMatrix<T>& volume) const {
    const float r = std::floor(x1), c = std::floor(x2), p = std::floor(x3);
    if (!isComplete(r, volume.getSize1()) || !isComplete(c, volume.getSize2()) || !isComplete(p, volume.getSize3()))
        return NearestInterpolation<T>().eval(x1, x2, x3, volume);
    const T u = x1 - r, v = x2 - c, w = x3 - p;
    const int plane = static_cast<int>(p);
    return (T(1) - w) * cellValue<T>(volume[plane], static_cast<int>(r), static_cast<int>(c), u, v) +
           w * cellValue<T>(volume[plane + 1], static_cast<int>(r), static_cast<int>(c), u, v);
}

template class LinearInterpolation<float>;
template class LinearInterpolation<double>;
template class LinearInterpolation<long double>;

} // namespace vorlen
