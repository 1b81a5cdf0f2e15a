#include "images/filters/matrixresize.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "images/filters/resamplingsweep.h"
#include "images/filters/sumfilter.h"
#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"

namespace vorlen {

template <class T>
MatrixResize<T>::MatrixResize() : __size(2) {
    __size.setZeros();
}

template <class T>
void MatrixResize<T>::setSize(const Vector<int>& size) {
    if (size.getSize() != 2)
        throw SizeError("void MatrixResize<T>::setSize(const Vector<int>&)",
                        "Size vector does not contain two values as expected");
    __size = size;
}

template <class T>
const Vector<int>& MatrixResize<T>::getSize() const {
    return __size;
}

template <class T>
void MatrixResize<T>::setInterpolationMode(InterpolationMode interpolationMode) {
    __interpolationMode = interpolationMode;
}

template <class T>
InterpolationMode MatrixResize<T>::getInterpolationMode() const {
    return __interpolationMode;
}

template <class T>
void MatrixResize<T>::setLowPassFilteringEnabled(bool enabled) {
    __lowPassFilteringEnabled = enabled;
}

template <class T>
bool MatrixResize<T>::isLowPassFilteringEnabled() const {
    return __lowPassFilteringEnabled;
}

template <class T>
void MatrixResize<T>::apply(PixelMatrix<T>& matrix) {
    const Vector<int> oldSize = matrix.getSize();
    if (oldSize == __size)
        return;
    if (oldSize.min() < 1 || __size.min() < 1)
        throw SizeError("void MatrixResize<T>::apply(PixelMatrix<T>&)", "Cannot resize from or to an empty matrix");
    const bool shrinks = __size[0] < oldSize[0] || __size[1] < oldSize[1];
    const bool grows = __size[0] > oldSize[0] || __size[1] > oldSize[1];
    if (!shrinks)
        enlargement(matrix, oldSize, __size);
    else if (!grows)
        reduction(matrix, oldSize, __size);
    else
        mixedResize(matrix, oldSize, __size);
}

template <class T>
void MatrixResize<T>::halve(PixelMatrix<unsigned char>& matrix) {
    const int rows = matrix.getSize1() / 2;
    const int columns = matrix.getSize2() / 2;
    this->notifyStarted("");
    for (int i = 0; i < rows && !this->isCanceled(); ++i) {
        const unsigned char* const upper = matrix[2 * i].data();
        const unsigned char* const lower = matrix[2 * i + 1].data();
        unsigned char* const target = matrix[i].data();
        for (int j = 0; j < columns; ++j)
            target[j] =
                static_cast<unsigned char>((upper[2 * j] + upper[2 * j + 1] + lower[2 * j] + lower[2 * j + 1]) >> 2);
    }
    PixelMatrix<unsigned char> halved(rows, columns);
    for (int i = 0; i < rows; ++i)
        std::copy_n(matrix[i].data(), columns, halved[i].data());
    matrix.swap(halved);
    this->notifyFinished("");
}

template <class T>
void MatrixResize<T>::enlargement(PixelMatrix<T>& matrix, const Vector<int>& oldSize, const Vector<int>& newSize) {
    const auto sweep = [&](int axis) {
        const int numerator = oldSize[axis] - 1, denominator = newSize[axis] - 1;
        return __interpolationMode == NearestInterpolationMode
                   ? ResamplingSweep<T>::nearest(oldSize[axis], newSize[axis], numerator, denominator)
                   : ResamplingSweep<T>::linear(oldSize[axis], newSize[axis], numerator, denominator, true);
    };
    const ResamplingSweep<T> rowSweep = sweep(0), columnSweep = sweep(1);
    const int oldRows = oldSize[0], oldColumns = oldSize[1];
    const auto total = static_cast<unsigned int>(oldRows) + static_cast<unsigned int>(newSize[1]);
    unsigned int done = 0;
    this->notifyStarted("");
    PixelMatrix<T> enlarged(newSize[0], newSize[1]);
    for (int i = 0; i < oldRows; ++i) {
        std::copy_n(matrix[i].data(), oldColumns, enlarged[i].data());
        columnSweep.apply(enlarged[i].data());
        this->notifyProgressed(++done, total);
    }
    // All columns go together, row by row.
    rowSweep.applyAcross([&](int i) { return enlarged[i].data(); }, newSize[1]);
    while (done < total)
        this->notifyProgressed(++done, total);
    matrix.swap(enlarged);
    this->notifyFinished("");
}

template <class T>
void MatrixResize<T>::reduction(PixelMatrix<T>& matrix, const Vector<int>& oldSize, const Vector<int>& newSize) {
    const int oldRows = oldSize[0], newRows = newSize[0], newColumns = newSize[1];
    T divisor = T(1);
    if (__lowPassFilteringEnabled) {
        const int s = std::max(oldSize[0] / newSize[0], oldSize[1] / newSize[1]);
        SumFilter<T> filter;
        filter.setHalfSize(s);
        filter.apply(matrix);
        const T side = static_cast<T>(2 * static_cast<long long>(s) + 1);
        divisor = side * side;
    }
    const auto sweep = [&](int axis) {
        return __interpolationMode == NearestInterpolationMode
                   ? ResamplingSweep<T>::nearest(oldSize[axis], newSize[axis], oldSize[axis], newSize[axis])
                   : ResamplingSweep<T>::linear(oldSize[axis], newSize[axis], oldSize[axis], newSize[axis], false);
    };
    const ResamplingSweep<T> rowSweep = sweep(0), columnSweep = sweep(1);
    for (int i = 0; i < oldRows; ++i)
        columnSweep.apply(matrix[i].data());
    rowSweep.applyAcross([&](int i) { return matrix[i].data(); }, newColumns);
    PixelMatrix<T> reduced(newRows, newColumns);
    for (int i = 0; i < newRows; ++i)
        std::copy_n(matrix[i].data(), newColumns, reduced[i].data());
    matrix.swap(reduced);
    if (__lowPassFilteringEnabled)
        matrix /= divisor;
}

template <class T>
void MatrixResize<T>::mixedResize(PixelMatrix<T>& matrix, const Vector<int>& oldSize, const Vector<int>& newSize) {
    MatrixResize<T> reducer(*this), enlarger(*this);
    Vector<int> smaller(2);
    for (int axis = 0; axis < 2; ++axis)
        smaller[axis] = std::min(oldSize[axis], newSize[axis]);
    reducer.setSize(smaller);
    reducer.apply(matrix);
    enlarger.setSize(newSize);
    enlarger.apply(matrix);
}

template class MatrixResize<float>;
template class MatrixResize<double>;
template class MatrixResize<long double>;

} // namespace vorlen
