#include "registration/matrixprincipalaxesanalysis.h"

#include <cmath>
#include <type_traits>
#include <vector>

#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

/// Type of the sums.
template <class T>
using Wide = std::conditional_t<std::is_same_v<T, long double>, long double, double>;

constexpr long double halfPi = 1.57079632679489661923L;

/// Adds a row to the sums of the columns, and gives its own sum and its first moment by the weights of the columns.
/// Separate sums keep the additions of a row apart, so that the compiler may do them side by side.
template <class T>
void addRow(const T* row, const Wide<T>* weights, int n, Wide<T>* columnSums, Wide<T>& sum, Wide<T>& moment) {
    constexpr int lanes = 8;
    Wide<T> sums[lanes] = {};
    Wide<T> moments[lanes] = {};
    int j = 0;
    for (; j + lanes <= n; j += lanes) {
        for (int l = 0; l < lanes; ++l) {
            const Wide<T> mass = row[j + l];
            columnSums[j + l] += mass;
            sums[l] += mass;
            moments[l] += weights[j + l] * mass;
        }
    }
    for (; j < n; ++j) {
        columnSums[j] += row[j];
        sums[0] += row[j];
        moments[0] += weights[j] * row[j];
    }
    sum = 0;
    moment = 0;
    for (int l = 0; l < lanes; ++l) {
        sum += sums[l];
        moment += moments[l];
    }
}

} // namespace

template <class T>
void MatrixPrincipalAxesAnalysis<T>::apply(const PixelMatrix<T>& matrix) {
    const int rows = matrix.getSize1(), columns = matrix.getSize2();
    if (rows == 0 || columns == 0)
        throw SizeError("void MatrixPrincipalAxesAnalysis<T>::apply(const PixelMatrix<T>&)", "This matrix is empty");
    // Columns are counted from the middle, so that moving the moments to the centre of mass cancels little.
    const Wide<T> middle = Wide<T>(columns - 1) / 2;
    std::vector<Wide<T>> columnSums(std::size_t(columns), 0), weights(std::size_t(columns), 0);
    std::vector<Wide<T>> rowSums(std::size_t(rows), 0), rowMoments(std::size_t(rows), 0);
    for (int j = 0; j < columns; ++j)
        weights[j] = Wide<T>(j) - middle;
    Wide<T> total = 0;
    for (int i = 0; i < rows; ++i) {
        addRow(matrix[i].data(), weights.data(), columns, columnSums.data(), rowSums[i], rowMoments[i]);
        total += rowSums[i];
    }

    __inertiaCenter.setSize(2);
    __inertiaMatrix.setZeros(2);
    __hasMass = total != 0 && std::isfinite(total);
    Wide<T> c0 = Wide<T>(rows - 1) / 2, c1 = middle;
    if (__hasMass) {
        c0 = c1 = 0;
        for (int i = 1; i < rows; ++i)
            c0 += i * (rowSums[i] / total);
        for (int j = 1; j < columns; ++j)
            c1 += j * (columnSums[j] / total);
        Wide<T> a = 0, b = 0, d = 0;
        for (int i = 0; i < rows; ++i) {
            a += (i - c0) * (i - c0) * (rowSums[i] / total);
            b += (i - c0) * ((rowMoments[i] + (middle - c1) * rowSums[i]) / total);
        }
        for (int j = 0; j < columns; ++j)
            d += (j - c1) * (j - c1) * (columnSums[j] / total);
        __inertiaMatrix[0][0] = T(a);
        __inertiaMatrix[0][1] = T(b);
        __inertiaMatrix[1][0] = T(b);
        __inertiaMatrix[1][1] = T(d);
    }
    __inertiaCenter[0] = T(c0);
    __inertiaCenter[1] = T(c1);
    computeAngle();
    __analyzed = true;
}

template <class T>
void MatrixPrincipalAxesAnalysis<T>::computeAngle() {
    const T a = __inertiaMatrix[0][0], b = __inertiaMatrix[0][1], d = __inertiaMatrix[1][1];
    if (!(std::abs(b) > Vector<T>::epsilon())) {
        __angle = a >= d ? T(0) : T(halfPi);
        return;
    }
    const T y = (d - a) / (2 * b);
    // For a great negative y the two terms of the sum cancel; its inverse is free of that.
    const T t = y < 0 ? 1 / (std::sqrt(y * y + 1) - y) : y + std::sqrt(y * y + 1);
    __angle = std::atan2(t, T(1));
}

template <class T>
void MatrixPrincipalAxesAnalysis<T>::__checkAnalyzed(const char* where) const {
    if (!__analyzed)
        throw UsageError(where, "No image was analyzed yet");
}

template <class T>
const Vector<T>& MatrixPrincipalAxesAnalysis<T>::getInertiaCenter() const {
    __checkAnalyzed("const Vector<T>& MatrixPrincipalAxesAnalysis<T>::getInertiaCenter() const");
    return __inertiaCenter;
}

template <class T>
const SquareMatrix<T>& MatrixPrincipalAxesAnalysis<T>::getInertiaMatrix() const {
    __checkAnalyzed("const SquareMatrix<T>& MatrixPrincipalAxesAnalysis<T>::getInertiaMatrix() const");
    return __inertiaMatrix;
}

template <class T>
T MatrixPrincipalAxesAnalysis<T>::getAngle() const {
    __checkAnalyzed("T MatrixPrincipalAxesAnalysis<T>::getAngle() const");
    return __angle;
}

template <class T>
T MatrixPrincipalAxesAnalysis<T>::getMajorAngle() const {
    __checkAnalyzed("T MatrixPrincipalAxesAnalysis<T>::getMajorAngle() const");
    return __inertiaMatrix[0][1] < -Vector<T>::epsilon() ? __angle - T(halfPi) : __angle;
}

template <class T>
bool MatrixPrincipalAxesAnalysis<T>::hasMass() const {
    __checkAnalyzed("bool MatrixPrincipalAxesAnalysis<T>::hasMass() const");
    return __hasMass;
}

template class MatrixPrincipalAxesAnalysis<float>;
template class MatrixPrincipalAxesAnalysis<double>;
template class MatrixPrincipalAxesAnalysis<long double>;

} // namespace vorlen
