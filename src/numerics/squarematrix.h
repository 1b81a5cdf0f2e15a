#pragma once

#include "numerics/matrix.h"
#include "numerics/quaternion.h"

namespace vorlen {

/// Square matrix: diagonals, symmetry, LU decomposition, inverse, tridiagonal systems and symmetric eigenproblems.
///
/// Available for the element types of Matrix<T>. The decompositions and solvers serve float, double and long double;
/// for integer types they throw TypeError.
///
/// Decisions that callers may rely on:
/// - luDecomp() that fails leaves matrix and index as they were; so do the tridiagonal solvers with theirs.
/// - Vectors that are too short for an operation are refused with SizeError; the off-diagonals of the tridiagonal
///   solvers may be longer than needed.
/// - eigenJacobi() reads the upper triangle only. It throws MathError for non-finite elements. From the thirtieth sweep
///   on, off-diagonal elements below the least normal number count as zero, since rotations among denormal numbers need
///   not die out; after 1000 sweeps MathError is thrown, which finite input is not known to reach.
template <class T>
class SquareMatrix : public Matrix<T> {
public:
    SquareMatrix() = default;
    /// n by n, elements uninitialised.
    explicit SquareMatrix(unsigned int n);
    /// Throws SizeError unless matrix is square. Implicit, so that products can be assigned.
    SquareMatrix(const Matrix<T>& matrix);
    /// Rotation matrix of q, 3 by 3; homogeneous true: 4 by 4 with last row and column (0, 0, 0, 1).
    SquareMatrix(const Quaternion<T>& q, bool homogeneous);

    using Matrix<T>::setSize;
    using Matrix<T>::getSize;
    void setSize(int n);
    /// Throws SizeError unless p equals n.
    void setSize(int n, int p) override;
    /// Number of rows, which is the number of columns.
    int getSize() const { return this->getSize1(); }

    using Matrix<T>::setZeros;
    using Matrix<T>::setOnes;
    void setZeros(int n);
    void setOnes(int n);
    void setIdentity();
    void setIdentity(int n);
    /// Element (i, j) becomes 1/(i+j+1); n above 0 resizes first. TypeError for integer types.
    void setHilbert(int n);

    /// The set operations zero all other elements and throw SizeError for vectors of the wrong size: n elements for
    /// the diagonal, n-1 for its neighbours.
    void setDiagonal(T value);
    void setDiagonal(const Vector<T>& d);
    void setUpperBidiagonal(const Vector<T>& d, const Vector<T>& e);
    void setLowerBidiagonal(const Vector<T>& d, const Vector<T>& e);
    void setTridiagonal(const Vector<T>& d, const Vector<T>& upper, const Vector<T>& lower);

    /// The paste operations keep all other elements and throw SizeError unless v has n elements (diagonal), n-1
    /// (first neighbours) or n-2 (second neighbours).
    void pasteDiagonal(const Vector<T>& v);
    void pasteUpperDiagonal(const Vector<T>& v);
    void pasteUpperDiagonal2(const Vector<T>& v);
    void pasteLowerDiagonal(const Vector<T>& v);
    void pasteLowerDiagonal2(const Vector<T>& v);

    Vector<T> diagonal() const;
    Vector<T> upperDiagonal() const;
    Vector<T> lowerDiagonal() const;

    /// Exact comparison of (i, j) with (j, i).
    bool isSymmetrical() const;
    /// Exact comparison of (i, j) with minus (j, i), the diagonal included.
    bool isAntiSymmetrical() const;
    /// Whether the first three columns, cut to three elements, form a right-handed system: (a x b) . c >= 0.
    /// Throws SizeError for n below 3.
    bool isRHSystem() const;
    T trace() const;

    /// LU decomposition in place with implicitly scaled partial pivoting: the unit lower and the upper factor of the
    /// matrix with its rows exchanged. index[j] is the row that was exchanged with row j at step j. Returns the parity
    /// of the exchanges, +1 or -1. Throws MathError for a row of zeros or a pivot whose absolute value is not above
    /// threshold. Press et al., Numerical Recipes, section 2.3.
    int luDecomp(Vector<int>& index, T threshold);
    /// On a decomposed matrix: replaces b by the solution. Throws SizeError unless b and index have n elements.
    void luSolve(Vector<T>& b, const Vector<int>& index) const;
    /// Determinant; 0 for a row of zeros and where a pivot is not above 20 machine precisions of its row; 1 for an
    /// empty matrix, undefined where a value is.
    T det() const;
    /// Throws MathError where det() finds a pivot of 0.
    SquareMatrix inverse() const;

    /// Solves the tridiagonal system with diagonal d (n elements) and neighbours upper and lower (n-1 elements); x
    /// holds the right-hand side, then the solution. Throws MathError when a pivot is not above epsilon() of its row.
    static void tridiagSolve(Vector<T>& x, const Vector<T>& d, const Vector<T>& upper, const Vector<T>& lower);
    /// Inverse of the same matrix, in n^2 operations. Throws Exception when a pivot is not above epsilon() of its row.
    static void tridiagInverse(SquareMatrix& result, const Vector<T>& d, const Vector<T>& upper,
                               const Vector<T>& lower);
    /// The same as tridiagSolve() with the corner elements alpha (bottom left) and beta (top right), by the
    /// Sherman-Morrison formula. Throws MathError for a singular system, SizeError for n below 2. Press et al.,
    /// Numerical Recipes, section 2.7.
    static void cyclicTridiagSolve(Vector<T>& x, const Vector<T>& d, const Vector<T>& upper, const Vector<T>& lower,
                                   T alpha, T beta);
    /// The same for two right-hand sides of one system, at little more than the cost of one.
    static void cyclicTridiagSolve(Vector<T>& x, Vector<T>& y, const Vector<T>& d, const Vector<T>& upper,
                                   const Vector<T>& lower, T alpha, T beta);

    /// Eigenvalues and eigenvectors (the columns of vectors) of this symmetric matrix by the cyclic Jacobi method; sort
    /// orders them as eigenSort() does. Press et al., Numerical Recipes, section 11.1.
    void eigenJacobi(Vector<T>& values, SquareMatrix& vectors, bool sort) const;
    /// Descending order of the values, with their columns of vectors. Each exchange negates one of the two columns, so
    /// that the determinant of vectors is kept.
    static void eigenSort(Vector<T>& values, SquareMatrix& vectors);
    /// With g = a(i, j) and h = a(k, l): a(i, j) = g - s (h + g tau), a(k, l) = h + s (g - h tau).
    void jacobiRotate(int i, int j, int k, int l, T s, T tau);
};

} // namespace vorlen
