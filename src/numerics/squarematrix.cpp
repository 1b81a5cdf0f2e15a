#include "numerics/squarematrix.h"

#include "numerics/elementtype.h"
#include "numerics/exception.h"
#include "numerics/lufactor.h"
#include "numerics/rowkernels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

namespace vorlen {

namespace {

// A pivot below this part of its row is what rounding leaves of 0.
template <class T>
constexpr T singularPivot = 20 * std::numeric_limits<T>::epsilon();

[[noreturn]] void throwSizeError(const char* where) {
    SizeError error;
    error.setWhere(where);
    throw error;
}

template <class T>
RowBlock<T> toBlock(const SquareMatrix<T>& matrix) {
    const int n = matrix.getSize();
    RowBlock<T> block(n, n);
    for (int i = 0; i < n; ++i)
        std::copy_n(matrix[i].data(), n, block[i]);
    return block;
}

// Pivots of the Thomas algorithm and the superdiagonal gamma of its upper factor. Returns false when the absolute value
// of a pivot is not above the working precision of its row.
template <class T>
bool tridiagPivots(const Vector<T>& d, const Vector<T>& upper, const Vector<T>& lower, Vector<T>& pivots,
                   Vector<T>& gamma) {
    const int n = d.getSize();
    pivots.setSize(n);
    gamma.setSize(std::max(n - 1, 0));
    for (int j = 0; j < n; ++j) {
        pivots[j] = d[j];
        T scale = std::abs(d[j]);
        if (j + 1 < n)
            scale = std::max(scale, std::abs(upper[j]));
        if (j > 0) {
            scale = std::max(scale, std::abs(lower[j - 1]));
            gamma[j - 1] = upper[j - 1] / pivots[j - 1];
            pivots[j] -= lower[j - 1] * gamma[j - 1];
        }
        if (!(std::abs(pivots[j]) > Vector<T>::epsilon() * scale))
            return false;
    }
    return true;
}

template <class T>
void checkTridiag(const Vector<T>& d, const Vector<T>& upper, const Vector<T>& lower, const char* where) {
    const int n = d.getSize();
    if (upper.getSize() < n - 1 || lower.getSize() < n - 1)
        throwSizeError(where);
}

// Solves the cyclic system for several right-hand sides at once: each step of the elimination waits for the one before
// it, so that further columns beside the first cost next to nothing. The last column corrects for the corners.
template <class T, int count>
void solveCyclic(const std::array<Vector<T>*, count>& sides, const Vector<T>& d, const Vector<T>& upper,
                 const Vector<T>& lower, T alpha, T beta) {
    static const char* const where = "void SquareMatrix<T>::cyclicTridiagSolve(...)";
    constexpr int columns = count + 1;
    checkTridiag(d, upper, lower, where);
    const int n = d.getSize();
    if (n < 2 || std::any_of(sides.begin(), sides.end(), [n](const Vector<T>* x) { return x->getSize() < n; }))
        throwSizeError(where);
    const T gamma = -d[0];
    Vector<T> diagonal(d);
    diagonal[0] = d[0] - gamma;
    diagonal[n - 1] = d[n - 1] - alpha * beta / gamma;
    Vector<T> pivots, quotients;
    if (!tridiagPivots(diagonal, upper, lower, pivots, quotients))
        throw MathError("void SquareMatrix<T>::tridiagSolve(...)", "Null pivoting element found.");

    std::vector<std::array<T, columns>> rows(static_cast<std::size_t>(n));
    for (int j = 0; j < n; ++j) {
        for (int c = 0; c < count; ++c)
            rows[j][c] = (*sides[c])[j];
        rows[j][count] = T(0);
    }
    rows[0][count] = gamma;
    rows[n - 1][count] = alpha;
    for (int c = 0; c < columns; ++c)
        rows[0][c] /= pivots[0];
    for (int j = 1; j < n; ++j)
        for (int c = 0; c < columns; ++c)
            rows[j][c] = (rows[j][c] - lower[j - 1] * rows[j - 1][c]) / pivots[j];
    for (int j = n - 2; j >= 0; --j)
        for (int c = 0; c < columns; ++c)
            rows[j][c] -= quotients[j] * rows[j + 1][c];

    const T denominator = T(1) + rows[0][count] + beta * rows[n - 1][count] / gamma;
    if (!(std::abs(denominator) > Vector<T>::epsilon()))
        throw MathError(where, "Singular cyclic tridiagonal matrix.");
    for (int c = 0; c < count; ++c) {
        const T factor = (rows[0][c] + beta * rows[n - 1][c] / gamma) / denominator;
        for (int j = 0; j < n; ++j)
            (*sides[c])[j] = rows[j][c] - factor * rows[j][count];
    }
}

// Writes v from element (row, col) downwards along the diagonal.
template <class T>
void pasteAlong(SquareMatrix<T>& matrix, const Vector<T>& v, int row, int col, const char* where) {
    if (v.getSize() != std::max(matrix.getSize() - row - col, 0))
        throw SizeError(where, "Incompatible matrix and vector dimensions");
    for (int i = 0; i < v.getSize(); ++i)
        matrix(row + i, col + i) = v[i];
}

// One rotation of the Jacobi method on n pairs of elements.
template <class T>
void rotatePairs(T* x, T* y, T s, T tau, int n) {
    for (int k = 0; k < n; ++k) {
        const T g = x[k];
        const T h = y[k];
        x[k] = g - s * (h + g * tau);
        y[k] = h + s * (g - h * tau);
    }
}

// One sweep of the cyclic Jacobi method over the upper triangle of a. Column p is held in a buffer meanwhile, so that
// each rotation reads only one column across the rows. axes has the eigenvectors as rows.
template <class T>
void jacobiSweep(RowBlock<T>& a, RowBlock<T>& axes, Vector<T>& values, Vector<T>& z, bool flush) {
    const int n = a.getRows();
    std::vector<T> column(static_cast<std::size_t>(n));
    for (int p = 0; p < n - 1; ++p) {
        for (int k = 0; k < p; ++k)
            column[k] = a[k][p];
        T* rowP = a[p];
        for (int q = p + 1; q < n; ++q) {
            if (flush && std::abs(rowP[q]) < std::numeric_limits<T>::min())
                rowP[q] = T(0);
            const T side = rowP[q];
            if (side == T(0))
                continue;
            const T theta = (values[q] - values[p]) / T(2) / side;
            const T root = std::sqrt(theta * theta + T(1));
            const T t = theta <= T(0) ? T(1) / (theta - root) : T(1) / (theta + root);
            const T c = T(1) / std::sqrt(t * t + T(1));
            const T s = t * c;
            const T tau = s / (T(1) + c);
            const T h = t * side;
            rowP[q] = T(0);
            z[p] -= h;
            z[q] += h;
            values[p] -= h;
            values[q] += h;
            for (int k = 0; k < p; ++k)
                rotatePairs(&column[k], &a[k][q], s, tau, 1);
            for (int k = p + 1; k < q; ++k)
                rotatePairs(&rowP[k], &a[k][q], s, tau, 1);
            rotatePairs(rowP + q + 1, a[q] + q + 1, s, tau, n - q - 1);
            rotatePairs(axes[p], axes[q], s, tau, n);
        }
        for (int k = 0; k < p; ++k)
            a[k][p] = column[k];
    }
}

} // namespace

template <class T>
SquareMatrix<T>::SquareMatrix(unsigned int n) : Matrix<T>(n, n) {
}

template <class T>
SquareMatrix<T>::SquareMatrix(const Matrix<T>& matrix) {
    if (matrix.getSize1() != matrix.getSize2())
        throwSizeError("SquareMatrix<T>::SquareMatrix(const Matrix<T>&)");
    Matrix<T>::operator=(matrix);
}

template <class T>
SquareMatrix<T>::SquareMatrix(const Quaternion<T>& q, bool homogeneous) : SquareMatrix(homogeneous ? 4u : 3u) {
    const T a = q.a, b = q.b, c = q.c, d = q.d;
    SquareMatrix& m = *this;
    if (homogeneous)
        setIdentity();
    m(0, 0) = T(a * a + b * b - c * c - d * d);
    m(0, 1) = T(2 * (b * c - a * d));
    m(0, 2) = T(2 * (b * d + a * c));
    m(1, 0) = T(2 * (a * d + b * c));
    m(1, 1) = T(a * a - b * b + c * c - d * d);
    m(1, 2) = T(2 * (c * d - a * b));
    m(2, 0) = T(2 * (b * d - a * c));
    m(2, 1) = T(2 * (c * d + a * b));
    m(2, 2) = T(a * a - b * b - c * c + d * d);
}

template <class T>
void SquareMatrix<T>::setSize(int n) {
    Matrix<T>::setSize(n, n);
}

template <class T>
void SquareMatrix<T>::setSize(int n, int p) {
    if (n != p)
        throw SizeError("void SquareMatrix<T>::setSize(const int, const int)",
                        "Arguments n and p have distinct values.");
    Matrix<T>::setSize(n, n);
}

template <class T>
void SquareMatrix<T>::setZeros(int n) {
    Matrix<T>::setZeros(n, n);
}

template <class T>
void SquareMatrix<T>::setOnes(int n) {
    Matrix<T>::setOnes(n, n);
}

template <class T>
void SquareMatrix<T>::setIdentity() {
    setDiagonal(T(1));
}

template <class T>
void SquareMatrix<T>::setIdentity(int n) {
    setSize(n);
    setDiagonal(T(1));
}

template <class T>
void SquareMatrix<T>::setHilbert(int n) {
    if constexpr (!std::is_floating_point_v<T>)
        raiseNotAvailable<T>("void SquareMatrix<#>::setHilbert(const int)");
    else {
        if (n > 0)
            setSize(n);
        for (int i = 0; i < getSize(); ++i)
            for (int j = 0; j < getSize(); ++j)
                (*this)(i, j) = T(1) / (T(i) + T(j) + T(1));
    }
}

template <class T>
void SquareMatrix<T>::setDiagonal(T value) {
    this->setZeros();
    for (int i = 0; i < getSize(); ++i)
        (*this)(i, i) = value;
}

template <class T>
void SquareMatrix<T>::setDiagonal(const Vector<T>& d) {
    if (d.getSize() != getSize())
        throwSizeError("void SquareMatrix<T>::setDiagonal(const Vector<T>&)");
    this->setZeros();
    for (int i = 0; i < getSize(); ++i)
        (*this)(i, i) = d[i];
}

template <class T>
void SquareMatrix<T>::setUpperBidiagonal(const Vector<T>& d, const Vector<T>& e) {
    if (d.getSize() != getSize() || e.getSize() != std::max(getSize() - 1, 0))
        throwSizeError("void SquareMatrix<T>::setUpperBidiagonal(const Vector<T>&, const Vector<T>&)");
    setDiagonal(d);
    pasteUpperDiagonal(e);
}

template <class T>
void SquareMatrix<T>::setLowerBidiagonal(const Vector<T>& d, const Vector<T>& e) {
    if (d.getSize() != getSize() || e.getSize() != std::max(getSize() - 1, 0))
        throwSizeError("void SquareMatrix<T>::setLowerBidiagonal(const Vector<T>&, const Vector<T>&)");
    setDiagonal(d);
    pasteLowerDiagonal(e);
}

template <class T>
void SquareMatrix<T>::setTridiagonal(const Vector<T>& d, const Vector<T>& upper, const Vector<T>& lower) {
    const int side = std::max(getSize() - 1, 0);
    if (d.getSize() != getSize() || upper.getSize() != side || lower.getSize() != side)
        throwSizeError("void SquareMatrix<T>::setTridiagonal(...)");
    setDiagonal(d);
    pasteUpperDiagonal(upper);
    pasteLowerDiagonal(lower);
}

template <class T>
void SquareMatrix<T>::pasteDiagonal(const Vector<T>& v) {
    pasteAlong(*this, v, 0, 0, "void SquareMatrix<T>::pasteDiagonal(...)");
}

template <class T>
void SquareMatrix<T>::pasteUpperDiagonal(const Vector<T>& v) {
    pasteAlong(*this, v, 0, 1, "void SquareMatrix<T>::pasteUpperDiagonal(...)");
}

template <class T>
void SquareMatrix<T>::pasteUpperDiagonal2(const Vector<T>& v) {
    pasteAlong(*this, v, 0, 2, "void SquareMatrix<T>::pasteUpperDiagonal2(...)");
}

template <class T>
void SquareMatrix<T>::pasteLowerDiagonal(const Vector<T>& v) {
    pasteAlong(*this, v, 1, 0, "void SquareMatrix<T>::pasteLowerDiagonal(...)");
}

template <class T>
void SquareMatrix<T>::pasteLowerDiagonal2(const Vector<T>& v) {
    pasteAlong(*this, v, 2, 0, "void SquareMatrix<T>::pasteLowerDiagonal2(...)");
}

template <class T>
Vector<T> SquareMatrix<T>::diagonal() const {
    Vector<T> result(static_cast<unsigned int>(getSize()));
    for (int i = 0; i < getSize(); ++i)
        result[i] = (*this)(i, i);
    return result;
}

template <class T>
Vector<T> SquareMatrix<T>::upperDiagonal() const {
    Vector<T> result(static_cast<unsigned int>(std::max(getSize() - 1, 0)));
    for (int i = 0; i < result.getSize(); ++i)
        result[i] = (*this)(i, i + 1);
    return result;
}

template <class T>
Vector<T> SquareMatrix<T>::lowerDiagonal() const {
    Vector<T> result(static_cast<unsigned int>(std::max(getSize() - 1, 0)));
    for (int i = 0; i < result.getSize(); ++i)
        result[i] = (*this)(i + 1, i);
    return result;
}

template <class T>
bool SquareMatrix<T>::isSymmetrical() const {
    for (int i = 0; i < getSize(); ++i)
        for (int j = 0; j < i; ++j)
            if ((*this)(i, j) != (*this)(j, i))
                return false;
    return true;
}

template <class T>
bool SquareMatrix<T>::isAntiSymmetrical() const {
    for (int i = 0; i < getSize(); ++i)
        for (int j = 0; j <= i; ++j)
            if ((*this)(i, j) != T(-(*this)(j, i)))
                return false;
    return true;
}

template <class T>
bool SquareMatrix<T>::isRHSystem() const {
    if (getSize() < 3)
        throwSizeError("bool SquareMatrix<T>::isRHSystem() const");
    using Value = std::conditional_t<std::is_integral_v<T>, long double, T>;
    Value m[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            m[i][j] = Value((*this)(i, j));
    const Value x = m[1][0] * m[2][1] - m[2][0] * m[1][1];
    const Value y = m[2][0] * m[0][1] - m[0][0] * m[2][1];
    const Value z = m[0][0] * m[1][1] - m[1][0] * m[0][1];
    return x * m[0][2] + y * m[1][2] + z * m[2][2] >= Value(0);
}

template <class T>
T SquareMatrix<T>::trace() const {
    T sum = T(0);
    for (int i = 0; i < getSize(); ++i)
        sum = T(sum + (*this)(i, i));
    return sum;
}

template <class T>
int SquareMatrix<T>::luDecomp(Vector<int>& index, T threshold) {
    if constexpr (!std::is_floating_point_v<T>)
        raiseNotAvailable<T>("int SquareMatrix<#>::luDecomp(...)");
    else {
        RowBlock<T> block = toBlock(*this);
        Vector<int> exchanges;
        const int parity = lufactor::decompose(block, exchanges, threshold);
        if (parity == 0)
            throw MathError("int SquareMatrix<T>::luDecomp(...)", "This matrix is singular");
        for (int i = 0; i < getSize(); ++i)
            std::copy_n(block[i], getSize(), (*this)[i].data());
        index = exchanges;
        return parity;
    }
}

template <class T>
void SquareMatrix<T>::luSolve(Vector<T>& b, const Vector<int>& index) const {
    if constexpr (!std::is_floating_point_v<T>)
        raiseNotAvailable<T>("void SquareMatrix<#>::luSolve(...) const");
    else {
        const int n = getSize();
        if (b.getSize() != n || index.getSize() != n)
            throw SizeError("void SquareMatrix<T>::luSolve(...) const", "Incompatible matrix and vector dimensions");
        for (int i = 0; i < n; ++i)
            std::swap(b[i], b[index[i]]);
        for (int i = 1; i < n; ++i)
            b[i] -= rowkernels::dot((*this)[i].data(), b.data(), i);
        for (int i = n - 1; i >= 0; --i) {
            const T* row = (*this)[i].data();
            b[i] = (b[i] - rowkernels::dot(row + i + 1, b.data() + i + 1, n - i - 1)) / row[i];
        }
    }
}

template <class T>
T SquareMatrix<T>::det() const {
    if constexpr (!std::is_floating_point_v<T>)
        raiseNotAvailable<T>("int SquareMatrix<#>::luDecomp(...)");
    else {
        for (int i = 0; i < getSize(); ++i)
            for (const T x : (*this)[i])
                if (x != x)
                    return x;
        RowBlock<T> block = toBlock(*this);
        Vector<int> index;
        const int parity = lufactor::decompose(block, index, singularPivot<T>, true);
        T product = T(parity);
        if (parity != 0)
            for (int i = 0; i < getSize(); ++i)
                product *= block[i][i];
        return product;
    }
}

template <class T>
SquareMatrix<T> SquareMatrix<T>::inverse() const {
    if constexpr (!std::is_floating_point_v<T>)
        raiseNotAvailable<T>("int SquareMatrix<#>::luDecomp(...)");
    else {
        const int n = getSize();
        RowBlock<T> block = toBlock(*this);
        Vector<int> index;
        if (lufactor::decompose(block, index, singularPivot<T>, true) == 0) {
            MathError error("int SquareMatrix<T>::luDecomp(...)", "This matrix is singular");
            error.addCall("SquareMatrix<T> SquareMatrix<T>::inverse() const");
            throw error;
        }
        Vector<int> order;
        const RowBlock<T> columns = lufactor::invert(block, index, order);
        SquareMatrix result(static_cast<unsigned int>(n));
        for (int i = 0; i < n; ++i) {
            T* row = result[i].data();
            for (int j = 0; j < n; ++j)
                row[order[j]] = columns[i][j];
        }
        return result;
    }
}

template <class T>
void SquareMatrix<T>::tridiagSolve(Vector<T>& x, const Vector<T>& d, const Vector<T>& upper, const Vector<T>& lower) {
    if constexpr (!std::is_floating_point_v<T>)
        raiseNotAvailable<T>("void SquareMatrix<#>::tridiagSolve(...)");
    else {
        static const char* const where = "void SquareMatrix<T>::tridiagSolve(...)";
        checkTridiag(d, upper, lower, where);
        const int n = d.getSize();
        if (x.getSize() < n)
            throwSizeError(where);
        Vector<T> pivots, gamma;
        if (!tridiagPivots(d, upper, lower, pivots, gamma))
            throw MathError(where, "Null pivoting element found.");
        for (int j = 0; j < n; ++j)
            x[j] = (j > 0 ? x[j] - lower[j - 1] * x[j - 1] : x[j]) / pivots[j];
        for (int j = n - 2; j >= 0; --j)
            x[j] -= gamma[j] * x[j + 1];
    }
}

template <class T>
void SquareMatrix<T>::tridiagInverse(SquareMatrix& result, const Vector<T>& d, const Vector<T>& upper,
                                     const Vector<T>& lower) {
    if constexpr (!std::is_floating_point_v<T>)
        raiseNotAvailable<T>("void SquareMatrix<#>::tridiagInverse(...)");
    else {
        static const char* const where = "void SquareMatrix<T>::tridiagInverse(...)";
        checkTridiag(d, upper, lower, where);
        Vector<T> pivots, gamma;
        if (!tridiagPivots(d, upper, lower, pivots, gamma))
            throw Exception(where, "Null pivoting element found. Try another inversion method.");
        // All columns at once, row by row.
        const int n = d.getSize();
        result.setZeros(n);
        for (int i = 0; i < n; ++i) {
            T* row = result[i].data();
            if (i > 0) {
                const T* above = result[i - 1].data();
                for (int j = 0; j < i; ++j)
                    row[j] = -above[j] * lower[i - 1] / pivots[i];
            }
            row[i] = T(1) / pivots[i];
        }
        for (int i = n - 2; i >= 0; --i)
            rowkernels::addMultiple(result[i].data(), -gamma[i], result[i + 1].data(), n);
    }
}

template <class T>
void SquareMatrix<T>::cyclicTridiagSolve(Vector<T>& x, const Vector<T>& d, const Vector<T>& upper,
                                         const Vector<T>& lower, T alpha, T beta) {
    if constexpr (!std::is_floating_point_v<T>)
        raiseNotAvailable<T>("void SquareMatrix<#>::tridiagSolve(...)");
    else
        solveCyclic<T, 1>({&x}, d, upper, lower, alpha, beta);
}

template <class T>
void SquareMatrix<T>::cyclicTridiagSolve(Vector<T>& x, Vector<T>& y, const Vector<T>& d, const Vector<T>& upper,
                                         const Vector<T>& lower, T alpha, T beta) {
    if constexpr (!std::is_floating_point_v<T>)
        raiseNotAvailable<T>("void SquareMatrix<#>::tridiagSolve(...)");
    else
        solveCyclic<T, 2>({&x, &y}, d, upper, lower, alpha, beta);
}

template <class T>
void SquareMatrix<T>::eigenJacobi(Vector<T>& values, SquareMatrix& vectors, bool sort) const {
    if constexpr (!std::is_floating_point_v<T>)
        raiseNotAvailable<T>("SquareMatrix<#> SquareMatrix<#>::eigenJacobi(...) const");
    else {
        static const char* const where = "SquareMatrix<T> SquareMatrix<T>::eigenJacobi(...) const";
        constexpr int firstFlush = 30;
        constexpr int maxSweeps = 1000;
        const int n = getSize();
        for (int i = 0; i < n; ++i)
            for (int j = i; j < n; ++j)
                if (!std::isfinite((*this)(i, j)))
                    throw MathError(where, "This matrix has non-finite elements");
        RowBlock<T> a = toBlock(*this);
        RowBlock<T> axes(n, n);
        for (int i = 0; i < n; ++i)
            axes[i][i] = T(1);
        Vector<T> current = diagonal();
        Vector<T> b(current);
        Vector<T> z;
        z.setZeros(n);
        for (int sweep = 0;; ++sweep) {
            if (sweep == maxSweeps)
                throw MathError(where, "The iteration does not converge");
            jacobiSweep(a, axes, current, z, sweep >= firstFlush);
            b += z;
            current = b;
            z.setZeros();
            T outside = T(0);
            for (int i = 0; i < n; ++i)
                for (int j = i + 1; j < n; ++j)
                    outside += std::abs(a[i][j]);
            if (outside == T(0))
                break;
        }
        values = current;
        vectors.setSize(n);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                vectors(i, j) = axes[j][i];
        if (sort)
            eigenSort(values, vectors);
    }
}

template <class T>
void SquareMatrix<T>::eigenSort(Vector<T>& values, SquareMatrix& vectors) {
    const int n = values.getSize();
    for (int i = 0; i < n - 1; ++i) {
        int greatest = i;
        for (int j = i + 1; j < n; ++j)
            if (values[j] > values[greatest])
                greatest = j;
        if (greatest == i)
            continue;
        std::swap(values[i], values[greatest]);
        for (int k = 0; k < vectors.getSize(); ++k) {
            T* row = vectors[k].data();
            std::swap(row[i], row[greatest]);
            row[greatest] = T(-row[greatest]);
        }
    }
}

template <class T>
void SquareMatrix<T>::jacobiRotate(int i, int j, int k, int l, T s, T tau) {
    const T g = (*this)(i, j);
    const T h = (*this)(k, l);
    (*this)(i, j) = T(g - s * (h + g * tau));
    (*this)(k, l) = T(h + s * (g - h * tau));
}

template class SquareMatrix<bool>;
template class SquareMatrix<char>;
template class SquareMatrix<unsigned char>;
template class SquareMatrix<short>;
template class SquareMatrix<unsigned short>;
template class SquareMatrix<int>;
template class SquareMatrix<unsigned int>;
template class SquareMatrix<float>;
template class SquareMatrix<double>;
template class SquareMatrix<long double>;

} // namespace vorlen
