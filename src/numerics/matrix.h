#pragma once

#include "numerics/vector.h"

#include <memory>
#include <ostream>
#include <string>

namespace vorlen {

template <class T>
class SquareMatrix;

/// Rectangular dense matrix: the first index is the row, the second the column.
///
/// A matrix owns an array of rows, and every row is a deep Vector<T> with one element per column. A row is contiguous,
/// so that loops run over operator[](i).data(); two rows are separate allocations. Callers must not resize a row.
/// Indices are not checked. Every check of an operation comes before its first change, so that a failing operation
/// leaves its operands as they were.
///
/// Available for bool, char, unsigned char, short, unsigned short, int, unsigned int, float, double and long double.
/// The decompositions serve the last three; an operation that has no meaning for an integer type throws TypeError
/// there.
///
/// Decisions that callers may rely on:
/// - Negative sizes count as 0.
/// - svd() and what stands on it throw MathError for a matrix with a non-finite element, and when the iteration has
///   not converged after 300 passes for each singular value (which finite input is not known to reach).
/// - svd() works on a copy that is scaled by a power of two when the elements are so great or small that squares would
///   leave the range of T; the scale is exact and is taken back from the singular values.
/// - A singular value of exactly 0 is never inverted, also when the tolerance is itself 0 (a zero matrix).
/// - mean2() and var2() of integer types add up in 64 bits, so that the sum cannot overflow the element type.
template <class T>
class Matrix {
public:
    Matrix() = default;
    /// rows by cols, elements uninitialised.
    Matrix(unsigned int rows, unsigned int cols);
    /// asRow false: one column with the elements of v; true: one row.
    Matrix(const Vector<T>& v, bool asRow);
    Matrix(const Matrix& other);
    Matrix(Matrix&& other) noexcept;
    virtual ~Matrix() = default;

    Matrix& operator=(const Matrix& other);
    Matrix& operator=(Matrix&& other);

    /// Keeps the contents when the shape is the same; else allocates new uninitialised rows.
    virtual void setSize(int rows, int cols);
    /// size holds rows, then columns.
    void setSize(const Vector<int>& size);

    void getSize(int& rows, int& cols) const {
        rows = __rows;
        cols = __columns;
    }
    /// Number of rows.
    int getSize1() const { return __rows; }
    /// Number of columns.
    int getSize2() const { return __columns; }
    /// k 1: rows; k 2: columns; any other k: 0.
    int getSize(int k) const { return k == 1 ? __rows : k == 2 ? __columns : 0; }
    /// Two elements: rows, columns.
    Vector<int> getSize() const;

    void fill(T value);
    void setZeros();
    void setZeros(int rows, int cols);
    void setOnes();
    void setOnes(int rows, int cols);
    /// Replaces each element by function of it.
    void apply(T (*function)(T));

    const Vector<T>& operator[](int row) const { return __data[row]; }
    Vector<T>& operator[](int row) { return __data[row]; }
    const T& operator()(int row, int col) const { return __data[row][col]; }
    T& operator()(int row, int col) { return __data[row][col]; }

    Vector<T> getRow(int row) const;
    Vector<T> getColumn(int col) const;
    /// Resizes v to the number of rows.
    void getColumn(Vector<T>& v, int col) const;
    /// Throws SizeError unless v has one element per column.
    void setRow(int row, const Vector<T>& v);
    /// Throws SizeError unless v has one element per row.
    void setColumn(int col, const Vector<T>& v);

    /// Overwrites the block of block's shape whose first element is (row, col). Throws SizeError if it does not fit.
    void paste(int row, int col, const Matrix& block);
    /// The block of the rows firstRow to lastRow and columns firstCol to lastCol, all ends included.
    Matrix copy(int firstRow, int lastRow, int firstCol, int lastCol) const;
    /// All rows one after the other.
    Vector<T> cat() const;
    /// Exchanges shapes and rows in constant time.
    void swap(Matrix& other);
    void swapRows(int row1, int row2);
    Matrix transpose() const;
    /// Element by element conversion; between int, float, double and long double.
    template <class U>
    Matrix<U> toType() const;

    /// The title and a newline unless it is empty, then a line per row, formatted as Vector<T>::print does with the
    /// settings of NumericIO, whose transpose setting is off meanwhile.
    void print(const std::string& title, std::ostream& stream) const;

    /// @name Row-wise statistics
    /// One element per row, computed by the operation of Vector<T> of the same name, which fails for rows without
    /// elements.
    /// @{
    Vector<T> min() const;
    Vector<T> max() const;
    Vector<T> sum() const;
    Vector<T> mean() const;
    Vector<T> var() const;
    Vector<T> std() const;
    Vector<T> prod() const;
    /// @}

    /// Mean of all elements; 0 for an empty matrix. TypeError for bool and the 16- and 32-bit integers.
    T mean2() const;
    /// Population variance of all elements; 0 for an empty matrix. TypeError as mean2().
    T var2() const;
    /// Square root of var2(). TypeError as mean2().
    T std2() const;
    /// Sum of the squares of all elements: the squared Frobenius norm. 0 without rows.
    T snorm() const;
    /// Minimum, then maximum of all elements. Throws SizeError for an empty matrix.
    Vector<T> range() const;
    /// Counts of all elements in bins with lower edges first + k width; see Vector<T>::histogram.
    Vector<unsigned int> histogram(T first, T width, unsigned int bins) const;

    /// Same shape and equal elements.
    bool operator==(const Matrix& other) const;
    bool operator!=(const Matrix& other) const;

    Matrix operator-() const;
    /// Throw SizeError when the shapes differ.
    Matrix operator+(const Matrix& other) const;
    Matrix operator-(const Matrix& other) const;
    void operator+=(const Matrix& other);
    void operator-=(const Matrix& other);
    Matrix pointwiseProduct(const Matrix& other) const;

    /// Matrix product; throw SizeError unless other has as many rows as this has columns.
    Matrix operator*(const Matrix& other) const;
    void operator*=(const Matrix& other);
    /// Throws SizeError unless v has one element per column; the result has one per row.
    Vector<T> operator*(const Vector<T>& v) const;

    Matrix operator+(T value) const;
    Matrix operator-(T value) const;
    Matrix operator*(T value) const;
    Matrix operator/(T value) const;
    void operator+=(T value);
    void operator-=(T value);
    void operator*=(T value);
    void operator/=(T value);

    /// Orders all rows by their element in column col, ascending. Rows with equal keys come in no particular order;
    /// rows whose key is not a number come last.
    void sortRows(int col);
    /// The same for the rows from first to last, both included, in either order.
    void sortRows(int col, int first, int last);

    /// This becomes (I - beta v v^T) this. Throws SizeError unless v has one element per row.
    void leftHouseholderTransform(const Vector<T>& v, T beta);
    /// This becomes this (I - beta v v^T). Throws SizeError unless v has one element per column.
    void rightHouseholderTransform(const Vector<T>& v, T beta);
    /// The same on a block, all ends included; only the block is read and written.
    void leftHouseholderTransform(const Vector<T>& v, T beta, int firstRow, int lastRow, int firstCol, int lastCol);
    void rightHouseholderTransform(const Vector<T>& v, T beta, int firstRow, int lastRow, int firstCol, int lastCol);

    /// Cosine c and sine s of the rotation with c b + s a = 0. TypeError for bool and the 16- and 32-bit integers.
    static void givens(T& c, T& s, T a, T b);
    /// row i = c row i - s row j; row j = s row i + c row j, from the old values.
    void leftGivensRotate(const T& c, const T& s, int i, int j);
    /// column i = c column i - s column j; column j = s column i + c column j, from the old values.
    void rightGivensRotate(const T& c, const T& s, int i, int j);

    /// Changes this n by p matrix, n at least p, into an upper bidiagonal one. With u (n by n) and v (p by p), either
    /// of which may be null: u times the matrix given times v is the result. Throws SizeError for n below p, TypeError
    /// for integer types. Golub and Van Loan, Matrix Computations, section 5.4.
    void householderBidiag(SquareMatrix<T>* u, SquareMatrix<T>* v);

    /// The p singular values, not negative, in no particular order, of this n by p matrix, n at least p. With u (n by
    /// n) and v (p by p), either of which may be null: u times this times v is the n by p matrix with the singular
    /// values on its diagonal. Throws SizeError for n below p, MathError for non-finite elements, TypeError for integer
    /// types. Golub and Kahan 1965; Golub and Van Loan, Matrix Computations, section 8.6.
    Vector<T> svd(SquareMatrix<T>* u, SquareMatrix<T>* v) const;

    /// Pseudo-inverse, p by n. Singular values below epsilon times the rows times the greatest one are dropped.
    /// Throws as svd().
    Matrix pinverse() const;

    /// The x of minimum norm that minimises the norm of this x - b; singular values are dropped as in pinverse().
    /// Throws SizeError unless b has one element per row, and as svd().
    Vector<T> solve(const Vector<T>& b) const;

private:
    void __allocate(int rows, int cols);

    int __rows = 0;
    int __columns = 0;
    std::unique_ptr<Vector<T>[]> __data;
};

} // namespace vorlen
