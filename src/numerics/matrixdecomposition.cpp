// The transforms and decompositions of Matrix, by element type.
#include "numerics/matrix.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <type_traits>

#include "numerics/elementtype.h"
#include "numerics/exception.h"
#include "numerics/matrixelements.h"
#include "numerics/rowblock.h"
#include "numerics/rowkernels.h"
#include "numerics/singularvaluedecomposition.h"
#include "numerics/squarematrix.h"

namespace vorlen {

using namespace matrixelements;

namespace {

template <class T>
RowBlock<T> toBlock(const Matrix<T>& matrix) {
    RowBlock<T> block(matrix.getSize1(), matrix.getSize2());
    for (int i = 0; i < matrix.getSize1(); ++i)
        std::copy_n(matrix[i].data(), matrix.getSize2(), block[i]);
    return block;
}

template <class T>
void copyBlock(const RowBlock<T>& block, Matrix<T>& matrix) {
    for (int i = 0; i < matrix.getSize1(); ++i)
        std::copy_n(block[i], matrix.getSize2(), matrix[i].data());
}

template <class T>
void copyTransposed(const RowBlock<T>& block, Matrix<T>& matrix) {
    for (int i = 0; i < matrix.getSize1(); ++i) {
        T* row = matrix[i].data();
        for (int j = 0; j < matrix.getSize2(); ++j)
            row[j] = block[j][i];
    }
}

} // namespace

template <class T>
void Matrix<T>::leftHouseholderTransform(const Vector<T>& v, T beta) {
    leftHouseholderTransform(v, beta, 0, __rows - 1, 0, __columns - 1);
}

template <class T>
void Matrix<T>::rightHouseholderTransform(const Vector<T>& v, T beta) {
    rightHouseholderTransform(v, beta, 0, __rows - 1, 0, __columns - 1);
}

template <class T>
void Matrix<T>::leftHouseholderTransform(const Vector<T>& v, T beta, int firstRow, int lastRow, int firstCol,
                                         int lastCol) {
    if (v.getSize() != lastRow - firstRow + 1)
        throw SizeError("Matrix<T> Matrix<T>::leftHouseholderTransform(...)",
                        "Incompatible block and Householder vector dimensions");
    const int width = lastCol - firstCol + 1;
    if (width <= 0)
        return;
    const auto storage = std::make_unique<T[]>(static_cast<std::size_t>(width));
    T* product = storage.get();
    for (int i = firstRow; i <= lastRow; ++i)
        addMultiple(product, v[i - firstRow], __data[i].data() + firstCol, width);
    for (int i = firstRow; i <= lastRow; ++i)
        addMultiple(__data[i].data() + firstCol, T(-(beta * v[i - firstRow])), product, width);
}

template <class T>
void Matrix<T>::rightHouseholderTransform(const Vector<T>& v, T beta, int firstRow, int lastRow, int firstCol,
                                          int lastCol) {
    if (v.getSize() != lastCol - firstCol + 1)
        throw SizeError("Matrix<T> Matrix<T>::rightHouseholderTransform(...)",
                        "Incompatible block and Householder vector dimensions");
    const int width = v.getSize();
    for (int i = firstRow; i <= lastRow; ++i) {
        T* row = __data[i].data() + firstCol;
        T product = T(0);
        if constexpr (std::is_floating_point_v<T>)
            product = rowkernels::dot(row, v.data(), width);
        else
            for (int j = 0; j < width; ++j)
                product = T(product + row[j] * v[j]);
        addMultiple(row, T(-(beta * product)), v.data(), width);
    }
}

// Golub and Van Loan, Matrix Computations, algorithm 5.1.3.
template <class T>
void Matrix<T>::givens(T& c, T& s, T a, T b) {
    if constexpr (std::is_floating_point_v<T>) {
        if (b == T(0)) {
            c = T(1);
            s = T(0);
        } else if (std::abs(a) > std::abs(b)) {
            const T t = -b / a;
            c = T(1) / std::sqrt(T(1) + t * t);
            s = c * t;
        } else {
            const T t = -a / b;
            s = T(1) / std::sqrt(T(1) + t * t);
            c = s * t;
        }
    } else if constexpr (hasStatistics<T>) {
        double cosine, sine;
        Matrix<double>::givens(cosine, sine, a, b);
        c = T(cosine);
        s = T(sine);
    } else
        raiseNotAvailable<T>("void Matrix<#>::givens(...)");
}

template <class T>
void Matrix<T>::leftGivensRotate(const T& c, const T& s, int i, int j) {
    const T cosine = c;
    const T sine = s;
    T* x = __data[i].data();
    T* y = __data[j].data();
    for (int k = 0; k < __columns; ++k) {
        const T p = x[k];
        const T q = y[k];
        x[k] = T(cosine * p - sine * q);
        y[k] = T(sine * p + cosine * q);
    }
}

template <class T>
void Matrix<T>::rightGivensRotate(const T& c, const T& s, int i, int j) {
    const T cosine = c;
    const T sine = s;
    for (int k = 0; k < __rows; ++k) {
        T* row = __data[k].data();
        const T p = row[i];
        const T q = row[j];
        row[i] = T(cosine * p - sine * q);
        row[j] = T(sine * p + cosine * q);
    }
}

template <class T>
void Matrix<T>::householderBidiag(SquareMatrix<T>* u, SquareMatrix<T>* v) {
    if constexpr (!std::is_floating_point_v<T>)
        raiseNotAvailable<T>("Matrix<#> Matrix<#>::householderBidiag(...) const");
    else {
        if (__rows < __columns)
            throw SizeError("Matrix<T> Matrix<T>::householderBidiag(...) const",
                            "Cannot perform bidiagonalization of (n,p) matrix with p > n");
        RowBlock<T> block = toBlock(*this);
        RowBlock<T> left(u ? __rows : 0, u ? __rows : 0);
        RowBlock<T> right(v ? __columns : 0, v ? __columns : 0);
        SingularValueDecomposition<T>::bidiagonalise(block, left, right);
        copyBlock(block, *this);
        if (u) {
            u->setSize(__rows);
            copyBlock(left, *u);
        }
        if (v) {
            v->setSize(__columns);
            copyTransposed(right, *v);
        }
    }
}

template <class T>
Vector<T> Matrix<T>::svd(SquareMatrix<T>* u, SquareMatrix<T>* v) const {
    if constexpr (!std::is_floating_point_v<T>)
        raiseNotAvailable<T>("Matrix<#> Matrix<#>::svd(...) const");
    else {
        const SingularValueDecomposition<T> decomposition(*this, u ? __rows : 0, v != nullptr);
        const int p = __columns;
        if (u) {
            u->setSize(__rows);
            copyBlock(decomposition.left(), *u);
        }
        if (v) {
            v->setSize(p);
            copyTransposed(decomposition.rightTransposed(), *v);
        }
        return decomposition.values();
    }
}

template <class T>
Matrix<T> Matrix<T>::pinverse() const {
    if constexpr (!hasStatistics<T>)
        raiseNotAvailable<T>("Matrix<#> Matrix<#>::pinverse() const");
    else
        try {
            Matrix result;
            if constexpr (std::is_floating_point_v<T>) {
                const int n = __rows;
                const int p = __columns;
                const SingularValueDecomposition<T> decomposition(*this, p, true);
                const T tolerance = decomposition.tolerance();
                result.setZeros(p, n);
                for (int k = 0; k < p; ++k) {
                    const T value = decomposition.values()[k];
                    if (value < tolerance || value == T(0))
                        continue;
                    const T* right = decomposition.rightTransposed()[k];
                    for (int i = 0; i < p; ++i)
                        addMultiple(result.__data[i].data(), right[i] / value, decomposition.left()[k], n);
                }
            } else
                svd(nullptr, nullptr);
            return result;
        } catch (Exception& e) {
            e.addCall("Matrix<T> Matrix<T>::pinverse() const");
            throw;
        }
}

template <class T>
Vector<T> Matrix<T>::solve(const Vector<T>& b) const {
    static const char* const where = "Vector<T> Matrix<T>::solve(...) const";
    try {
        Vector<T> result;
        if constexpr (std::is_floating_point_v<T>) {
            if (__rows >= __columns && b.getSize() != __rows)
                throw SizeError(where, "Incompatible vector and matrix dimensions");
            const int p = __columns;
            const SingularValueDecomposition<T> decomposition(*this, p, true);
            const T tolerance = decomposition.tolerance();
            result.setZeros(p);
            for (int k = 0; k < p; ++k) {
                const T value = decomposition.values()[k];
                if (value < tolerance || value == T(0))
                    continue;
                const T factor = rowkernels::dot(decomposition.left()[k], b.data(), __rows) / value;
                addMultiple(result.data(), factor, decomposition.rightTransposed()[k], p);
            }
        } else
            svd(nullptr, nullptr);
        return result;
    } catch (Exception& e) {
        if (e.getWhere() != where)
            e.addCall(where);
        throw;
    }
}

// NOLINTBEGIN(bugprone-macro-parentheses): a type in a list of parameters takes none
#define VORLEN_MATRIX_DECOMPOSITIONS(T)                                                                                \
    template void Matrix<T>::leftHouseholderTransform(const Vector<T>&, T);                                            \
    template void Matrix<T>::rightHouseholderTransform(const Vector<T>&, T);                                           \
    template void Matrix<T>::leftHouseholderTransform(const Vector<T>&, T, int, int, int, int);                        \
    template void Matrix<T>::rightHouseholderTransform(const Vector<T>&, T, int, int, int, int);                       \
    template void Matrix<T>::givens(T&, T&, T, T);                                                                     \
    template void Matrix<T>::leftGivensRotate(const T&, const T&, int, int);                                           \
    template void Matrix<T>::rightGivensRotate(const T&, const T&, int, int);                                          \
    template void Matrix<T>::householderBidiag(SquareMatrix<T>*, SquareMatrix<T>*);                                    \
    template Vector<T> Matrix<T>::svd(SquareMatrix<T>*, SquareMatrix<T>*) const;                                       \
    template Matrix<T> Matrix<T>::pinverse() const;                                                                    \
    template Vector<T> Matrix<T>::solve(const Vector<T>&) const
// NOLINTEND(bugprone-macro-parentheses)

VORLEN_MATRIX_DECOMPOSITIONS(double); // first, as those of small numbers turn by its rotations
VORLEN_MATRIX_DECOMPOSITIONS(bool);
VORLEN_MATRIX_DECOMPOSITIONS(char);
VORLEN_MATRIX_DECOMPOSITIONS(unsigned char);
VORLEN_MATRIX_DECOMPOSITIONS(short);
VORLEN_MATRIX_DECOMPOSITIONS(unsigned short);
VORLEN_MATRIX_DECOMPOSITIONS(int);
VORLEN_MATRIX_DECOMPOSITIONS(unsigned int);
VORLEN_MATRIX_DECOMPOSITIONS(float);
VORLEN_MATRIX_DECOMPOSITIONS(long double);
#undef VORLEN_MATRIX_DECOMPOSITIONS

} // namespace vorlen
