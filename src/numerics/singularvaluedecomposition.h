#pragma once

#include "numerics/matrix.h"
#include "numerics/rowblock.h"

namespace vorlen {

/// Singular value decomposition of an n by p matrix, n at least p: left() times the matrix times the transpose of
/// rightTransposed() is diagonal with the values() on its diagonal.
///
/// Householder bidiagonalisation followed by implicitly shifted QR sweeps. The rotations of many sweeps are collected
/// and applied to the factors strip by strip, so that the factors pass through the cache once for some thousand
/// rotations. Only as many rows of the left factor are made as are asked for.
template <class T>
class SingularValueDecomposition {
public:
    /// numLeft: rows of the left factor wanted: 0, or p to n; wantRight: whether the right factor is wanted.
    /// Throws SizeError for n below p and MathError for non-finite elements or without convergence.
    SingularValueDecomposition(const Matrix<T>& matrix, int numLeft, bool wantRight);

    /// The p singular values, not negative, unsorted.
    const Vector<T>& values() const { return __values; }
    /// The first rows of the left factor, with n columns.
    const RowBlock<T>& left() const { return __left; }
    /// Row j is column j of the p by p right factor.
    const RowBlock<T>& rightTransposed() const { return __right; }
    /// The factor that drops values below it: epsilon times n times the greatest value.
    T tolerance() const;

    /// Changes a into upper bidiagonal form and makes the rows of left and rightTransposed (none if they have none)
    /// such that left times a times the right factor is that form.
    static void bidiagonalise(RowBlock<T>& a, RowBlock<T>& left, RowBlock<T>& rightTransposed);

private:
    void __iterate(Vector<T>& e);

    int __numRows;
    Vector<T> __values;
    RowBlock<T> __left;
    RowBlock<T> __right;
};

} // namespace vorlen
