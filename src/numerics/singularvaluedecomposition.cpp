#include "numerics/singularvaluedecomposition.h"

#include "numerics/exception.h"
#include "numerics/rowkernels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace vorlen {

namespace {

const char* const svdSignature = "Vector<T> Matrix<T>::svd(...) const";

// Rotations waiting to be applied to the rows of one factor.
template <class T>
class RotationQueue {
public:
    explicit RotationQueue(RowBlock<T>& target) : __target(target), __active(target.getRows() > 0) {}
    void add(int i, int j, T c, T s) {
        if (!__active || s == T(0))
            return;
        __rotations.push_back({i, j, c, s});
        if (__rotations.size() >= limit)
            flush();
    }
    void flush() {
        rowkernels::rotateRows(__target.rows(), __target.getStrips(), __rotations.data(), int(__rotations.size()));
        __rotations.clear();
    }

private:
    static constexpr std::size_t limit = 8192;

    RowBlock<T>& __target;
    bool __active;
    std::vector<rowkernels::Rotation<T>> __rotations;
};

// Eigenvalue of the trailing 2 by 2 block of B^T B for the diagonal d and superdiagonal e of the block from start to q
// that is closer to the last diagonal element.
template <class T>
T shift(const Vector<T>& d, const Vector<T>& e, int start, int q) {
    const T above = q - 1 > start ? e[q - 2] : T(0);
    const T first = d[q - 1] * d[q - 1] + above * above;
    const T last = d[q] * d[q] + e[q - 1] * e[q - 1];
    const T side = d[q - 1] * e[q - 1];
    const T half = (first - last) / T(2);
    const T root = std::sqrt(half * half + side * side);
    const T denominator = half < T(0) ? half - root : half + root;
    return denominator == T(0) ? last : last - side * side / denominator;
}

// One implicit QR sweep on the block from start to q. The bulge is the element outside the bidiagonal.
template <class T>
void sweep(Vector<T>& d, Vector<T>& e, int start, int q, RotationQueue<T>& left, RotationQueue<T>& right) {
    T y = d[start] * d[start] - shift(d, e, start, q);
    T z = d[start] * e[start];
    T c, s;
    for (int k = start; k < q; ++k) {
        Matrix<T>::givens(c, s, y, z);
        right.add(k, k + 1, c, s);
        if (k > start)
            e[k - 1] = c * e[k - 1] - s * z;
        const T diagonal = c * d[k] - s * e[k];
        const T beside = s * d[k] + c * e[k];
        const T below = -s * d[k + 1];
        d[k + 1] = c * d[k + 1];

        Matrix<T>::givens(c, s, diagonal, below);
        left.add(k, k + 1, c, s);
        d[k] = c * diagonal - s * below;
        e[k] = c * beside - s * d[k + 1];
        d[k + 1] = s * beside + c * d[k + 1];
        if (k < q - 1) {
            y = e[k];
            z = -s * e[k + 1];
            e[k + 1] = c * e[k + 1];
        }
    }
}

// Rotates the superdiagonal element of row i, whose diagonal element counts as zero, out of the matrix.
template <class T>
void cleanRow(Vector<T>& d, Vector<T>& e, int i, RotationQueue<T>& left) {
    const int p = d.getSize();
    T fill = e[i];
    e[i] = T(0);
    T c, s;
    for (int k = i + 1; k < p && fill != T(0); ++k) {
        Matrix<T>::givens(c, s, d[k], fill);
        d[k] = c * d[k] - s * fill;
        if (k < p - 1) {
            fill = s * e[k];
            e[k] = c * e[k];
        }
        left.add(k, i, c, s);
    }
}

// Rotates the superdiagonal element of column q, whose diagonal element counts as zero, out of the matrix.
template <class T>
void cleanColumn(Vector<T>& d, Vector<T>& e, int q, RotationQueue<T>& right) {
    T fill = e[q - 1];
    e[q - 1] = T(0);
    T c, s;
    for (int k = q - 1; k >= 0 && fill != T(0); --k) {
        Matrix<T>::givens(c, s, d[k], fill);
        d[k] = c * d[k] - s * fill;
        if (k > 0) {
            fill = s * e[k - 1];
            e[k - 1] = c * e[k - 1];
        }
        right.add(k, q, c, s);
    }
}

} // namespace

template <class T>
SingularValueDecomposition<T>::SingularValueDecomposition(const Matrix<T>& matrix, int numLeft, bool wantRight)
    : __numRows(matrix.getSize1()), __left(numLeft, numLeft > 0 ? matrix.getSize1() : 0),
      __right(wantRight ? matrix.getSize2() : 0, wantRight ? matrix.getSize2() : 0) {
    const int n = matrix.getSize1();
    const int p = matrix.getSize2();
    if (n < p)
        throw SizeError(svdSignature, "Cannot perform svd of (n,p) matrix with p > n");

    T greatest = T(0);
    for (int i = 0; i < n; ++i) {
        const T* row = matrix[i].data();
        for (int j = 0; j < p; ++j) {
            if (!std::isfinite(row[j]))
                throw MathError(svdSignature, "This matrix has non-finite elements");
            greatest = std::max(greatest, std::abs(row[j]));
        }
    }
    // Squares of the elements must neither overflow nor vanish.
    int exponent = 0;
    std::frexp(greatest, &exponent);
    if (std::abs(exponent) < std::numeric_limits<T>::max_exponent / 4)
        exponent = 0;

    RowBlock<T> a(n, p);
    for (int i = 0; i < n; ++i)
        if (exponent == 0)
            std::copy_n(matrix[i].data(), p, a[i]);
        else
            for (int j = 0; j < p; ++j)
                a[i][j] = std::ldexp(matrix[i][j], -exponent);
    bidiagonalise(a, __left, __right);

    __values.setSize(p);
    Vector<T> e(static_cast<unsigned int>(std::max(p - 1, 0)));
    for (int i = 0; i < p; ++i)
        __values[i] = a[i][i];
    for (int i = 0; i + 1 < p; ++i)
        e[i] = a[i][i + 1];
    __iterate(e);

    for (int i = 0; i < p; ++i) {
        if (__values[i] < T(0)) {
            __values[i] = -__values[i];
            if (numLeft > i)
                std::transform(__left[i], __left[i] + n, __left[i], [](T x) { return -x; });
        }
        if (exponent != 0)
            __values[i] = std::ldexp(__values[i], exponent);
    }
}

template <class T>
T SingularValueDecomposition<T>::tolerance() const {
    T greatest = T(0);
    for (const T value : __values)
        greatest = std::max(greatest, value);
    return Vector<T>::epsilon() * T(__numRows) * greatest;
}

// 4 n p^2 operations; the matrix is read twice and written once for each column. Both factors are accumulated from the
// last reflection to the first, where each touches the least.
template <class T>
void SingularValueDecomposition<T>::bidiagonalise(RowBlock<T>& a, RowBlock<T>& left, RowBlock<T>& rightTransposed) {
    const int n = a.getRows();
    const int p = a.getColumns();
    RowBlock<T> leftVectors(left.getRows() > 0 ? p : 0, n);
    RowBlock<T> rightVectors(rightTransposed.getRows() > 0 ? std::max(p - 2, 0) : 0, p);
    std::vector<T> leftBeta(std::size_t(p), T(0));
    std::vector<T> rightBeta(std::size_t(std::max(p - 2, 0)), T(0));
    std::vector<T> w(static_cast<std::size_t>(p));
    Vector<T> x, r;
    for (int j = 0; j < p; ++j) {
        x.setSize(n - j);
        for (int i = j; i < n; ++i)
            x[i - j] = a[i][j];
        T beta;
        x.householderVector(beta);
        leftBeta[j] = beta;
        if (leftVectors.getRows() > 0)
            std::copy_n(x.data(), n - j, leftVectors[j] + j);
        std::fill(w.begin() + j, w.end(), T(0));
        rowkernels::addRows(w.data() + j, x.data(), a.rows() + j, n - j, j, p - j);
        x *= beta;
        rowkernels::addMultiple(a[j] + j, -x[0], w.data() + j, p - j);
        for (int i = j + 1; i < n; ++i)
            a[i][j] = T(0);

        const int rest = p - j - 1;
        T gamma = T(0);
        if (j < p - 2) {
            r.setSize(rest);
            std::copy_n(a[j] + j + 1, rest, r.data());
            r.householderVector(gamma);
            rightBeta[j] = gamma;
            if (rightVectors.getRows() > 0)
                std::copy_n(r.data(), rest, rightVectors[j] + j + 1);
            const T product = rowkernels::dot(a[j] + j + 1, r.data(), rest);
            a[j][j + 1] -= gamma * product;
            std::fill(a[j] + j + 2, a[j] + p, T(0));
        }
        rowkernels::reflectRows(a.rows() + j + 1, n - j - 1, j + 1, rest, x.data() + 1, w.data() + j + 1, r.data(),
                                gamma);
    }
    for (int i = 0; i < left.getRows(); ++i)
        left[i][i] = T(1);
    rowkernels::accumulateReflections(left.rows(), left.getRows(), n, leftVectors.rows(), leftBeta.data(),
                                      leftVectors.getRows(), 0);
    for (int i = 0; i < rightTransposed.getRows(); ++i)
        rightTransposed[i][i] = T(1);
    rowkernels::accumulateReflections(rightTransposed.rows(), rightTransposed.getRows(), p, rightVectors.rows(),
                                      rightBeta.data(), rightVectors.getRows(), 1);
}

template <class T>
void SingularValueDecomposition<T>::__iterate(Vector<T>& e) {
    Vector<T>& d = __values;
    const int p = d.getSize();
    const T eps = Vector<T>::epsilon();
    const T threshold = eps * std::sqrt(d.snorm() + e.snorm());
    RotationQueue<T> left(__left);
    RotationQueue<T> right(__right);
    const long long maxPasses = 300LL * (p + 1);
    for (long long pass = 0;; ++pass) {
        if (pass == maxPasses)
            throw MathError(svdSignature, "The iteration does not converge");
        for (int i = 0; i + 1 < p; ++i)
            if (eps * (std::abs(d[i]) + std::abs(d[i + 1])) > std::abs(e[i]))
                e[i] = T(0);
        int q = p - 1;
        while (q > 0 && e[q - 1] == T(0))
            --q;
        if (q <= 0)
            break;
        int start = q - 1;
        while (start > 0 && e[start - 1] != T(0))
            --start;

        bool zeroFound = false;
        for (int i = start; i < q; ++i)
            if (std::abs(d[i]) < threshold) {
                cleanRow(d, e, i, left);
                zeroFound = true;
            }
        if (std::abs(d[q]) < threshold) {
            cleanColumn(d, e, q, right);
            continue;
        }
        if (!zeroFound)
            sweep(d, e, start, q, left, right);
    }
    left.flush();
    right.flush();
}

template class SingularValueDecomposition<float>;
template class SingularValueDecomposition<double>;
template class SingularValueDecomposition<long double>;

} // namespace vorlen
