#include "numerics/matrix.h"

#include "numerics/elementarithmetic.h"
#include "numerics/elementtype.h"
#include "numerics/exception.h"
#include "numerics/numericio.h"
#include "numerics/rowkernels.h"
#include "numerics/singularvaluedecomposition.h"
#include "numerics/squarematrix.h"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>
#include <vector>

namespace vorlen {

namespace {

// A row and its key, ordered by the key; keys that are not numbers come last.
template <class T>
struct __SortRowData {
    int row;
    const T* key;

    bool operator<(const __SortRowData& other) const {
        if constexpr (std::is_floating_point_v<T>) {
            if (std::isnan(*key) || std::isnan(*other.key))
                return !std::isnan(*key);
        }
        return *key < *other.key;
    }
    bool operator==(const __SortRowData& other) const { return *key == *other.key; }
};

// Turns the transpose setting of NumericIO off and puts it back, also when printing throws.
class PlainRows {
public:
    PlainRows() : __transpose(NumericIO::getIOTranspose()) { NumericIO::setIOTranspose(false); }
    ~PlainRows() { NumericIO::setIOTranspose(__transpose); }
    PlainRows(const PlainRows&) = delete;
    PlainRows& operator=(const PlainRows&) = delete;

private:
    bool __transpose;
};

// Sums over all elements: 64 bits for integers, the type itself for the others.
template <class T>
using Total = std::conditional_t<std::is_integral_v<T>, long long, T>;

template <class T>
constexpr bool hasStatistics =
    std::is_floating_point_v<T> || std::is_same_v<T, char> || std::is_same_v<T, unsigned char>;

template <class T>
void checkShapes(const Matrix<T>& a, const Matrix<T>& b, const char* where) {
    if (a.getSize1() != b.getSize1() || a.getSize2() != b.getSize2())
        throw SizeError(where, "The dimensions of the two matrices differ");
}

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

// y += factor x.
template <class T>
void addMultiple(T* y, T factor, const T* x, int n) {
    if constexpr (std::is_floating_point_v<T>)
        rowkernels::addMultiple(y, factor, x, n);
    else
        for (int i = 0; i < n; ++i)
            y[i] = T(y[i] + factor * x[i]);
}

} // namespace

template <class T>
void Matrix<T>::__allocate(int rows, int cols) {
    __rows = std::max(rows, 0);
    __columns = std::max(cols, 0);
    __data.reset(__rows > 0 ? new Vector<T>[static_cast<std::size_t>(__rows)] : nullptr);
    for (int i = 0; i < __rows; ++i)
        __data[i].setSize(__columns);
}

template <class T>
Matrix<T>::Matrix(unsigned int rows, unsigned int cols) {
    __allocate(static_cast<int>(rows), static_cast<int>(cols));
}

template <class T>
Matrix<T>::Matrix(const Vector<T>& v, bool asRow) {
    const int n = v.getSize();
    __allocate(asRow ? 1 : n, asRow ? n : 1);
    if (asRow)
        __data[0] = v;
    else
        for (int i = 0; i < n; ++i)
            __data[i][0] = v[i];
}

template <class T>
Matrix<T>::Matrix(const Matrix& other) {
    __allocate(other.__rows, other.__columns);
    for (int i = 0; i < __rows; ++i)
        __data[i] = other.__data[i];
}

template <class T>
Matrix<T>::Matrix(Matrix&& other) noexcept
    : __rows(std::exchange(other.__rows, 0)), __columns(std::exchange(other.__columns, 0)),
      __data(std::move(other.__data)) {
}

template <class T>
Matrix<T>& Matrix<T>::operator=(const Matrix& other) {
    if (this != &other) {
        setSize(other.__rows, other.__columns);
        for (int i = 0; i < __rows; ++i)
            __data[i] = other.__data[i];
    }
    return *this;
}

template <class T>
Matrix<T>& Matrix<T>::operator=(Matrix&& other) {
    if (this != &other) {
        // The virtual operation may refuse the shape.
        setSize(other.__rows, other.__columns);
        swap(other);
    }
    return *this;
}

template <class T>
void Matrix<T>::setSize(int rows, int cols) {
    if (std::max(rows, 0) != __rows || std::max(cols, 0) != __columns)
        __allocate(rows, cols);
}

template <class T>
void Matrix<T>::setSize(const Vector<int>& size) {
    setSize(size[0], size[1]);
}

template <class T>
Vector<int> Matrix<T>::getSize() const {
    Vector<int> size(2u);
    size[0] = __rows;
    size[1] = __columns;
    return size;
}

template <class T>
void Matrix<T>::fill(T value) {
    for (int i = 0; i < __rows; ++i)
        __data[i].fill(value);
}

template <class T>
void Matrix<T>::setZeros() {
    fill(T(0));
}

template <class T>
void Matrix<T>::setZeros(int rows, int cols) {
    setSize(rows, cols);
    fill(T(0));
}

template <class T>
void Matrix<T>::setOnes() {
    fill(T(1));
}

template <class T>
void Matrix<T>::setOnes(int rows, int cols) {
    setSize(rows, cols);
    fill(T(1));
}

template <class T>
void Matrix<T>::apply(T (*function)(T)) {
    for (int i = 0; i < __rows; ++i)
        __data[i].apply(function);
}

template <class T>
Vector<T> Matrix<T>::getRow(int row) const {
    return __data[row];
}

template <class T>
Vector<T> Matrix<T>::getColumn(int col) const {
    Vector<T> v;
    getColumn(v, col);
    return v;
}

template <class T>
void Matrix<T>::getColumn(Vector<T>& v, int col) const {
    v.setSize(__rows);
    for (int i = 0; i < __rows; ++i)
        v[i] = __data[i][col];
}

template <class T>
void Matrix<T>::setRow(int row, const Vector<T>& v) {
    if (v.getSize() != __columns)
        throw SizeError("void Matrix<T>::setRow(const int,const Vector<T>&)",
                        "Incompatible matrix row and vector dimensions");
    __data[row] = v;
}

template <class T>
void Matrix<T>::setColumn(int col, const Vector<T>& v) {
    if (v.getSize() != __rows)
        throw SizeError("void Matrix<T>::setColumn(const int,const Vector<T>&)",
                        "Incompatible matrix column and vector dimensions");
    for (int i = 0; i < __rows; ++i)
        __data[i][col] = v[i];
}

template <class T>
void Matrix<T>::paste(int row, int col, const Matrix& block) {
    if (row < 0 || col < 0 || block.__rows > __rows - row || block.__columns > __columns - col)
        throw SizeError("void Matrix<T>::paste(...)", "Cannot paste block at specified position");
    for (int i = 0; i < block.__rows; ++i)
        std::copy_n(block.__data[i].data(), block.__columns, __data[row + i].data() + col);
}

template <class T>
Matrix<T> Matrix<T>::copy(int firstRow, int lastRow, int firstCol, int lastCol) const {
    Matrix result;
    result.__allocate(lastRow - firstRow + 1, lastCol - firstCol + 1);
    for (int i = 0; i < result.__rows; ++i)
        std::copy_n(__data[firstRow + i].data() + firstCol, result.__columns, result.__data[i].data());
    return result;
}

template <class T>
Vector<T> Matrix<T>::cat() const {
    Vector<T> result(static_cast<unsigned int>(__rows) * static_cast<unsigned int>(__columns));
    for (int i = 0; i < __rows; ++i)
        std::copy_n(__data[i].data(), __columns, result.data() + std::size_t(i) * std::size_t(__columns));
    return result;
}

template <class T>
void Matrix<T>::swap(Matrix& other) {
    std::swap(__rows, other.__rows);
    std::swap(__columns, other.__columns);
    std::swap(__data, other.__data);
}

template <class T>
void Matrix<T>::swapRows(int row1, int row2) {
    if (row1 != row2)
        __data[row1].swap(__data[row2]);
}

// By blocks of 16 columns of the source, so that the lines that are written stay in the cache.
template <class T>
Matrix<T> Matrix<T>::transpose() const {
    Matrix result;
    result.__allocate(__columns, __rows);
    constexpr int block = 16;
    T* to[block];
    for (int first = 0; first < __columns; first += block) {
        const int count = std::min(block, __columns - first);
        for (int j = 0; j < count; ++j)
            to[j] = result.__data[first + j].data();
        for (int i = 0; i < __rows; ++i) {
            const T* from = __data[i].data() + first;
            for (int j = 0; j < count; ++j)
                to[j][i] = from[j];
        }
    }
    return result;
}

template <class T>
template <class U>
Matrix<U> Matrix<T>::toType() const {
    Matrix<U> result(static_cast<unsigned int>(__rows), static_cast<unsigned int>(__columns));
    for (int i = 0; i < __rows; ++i)
        std::transform(__data[i].begin(), __data[i].end(), result[i].begin(),
                       [](T x) { return elements::converted<U>(x); });
    return result;
}

template <class T>
void Matrix<T>::print(const std::string& title, std::ostream& stream) const {
    const PlainRows plainRows;
    if (!title.empty())
        stream << title << '\n';
    for (int i = 0; i < __rows; ++i)
        __data[i].print(std::string(), stream);
}

template <class T>
Vector<T> Matrix<T>::min() const {
    Vector<T> result(static_cast<unsigned int>(__rows));
    for (int i = 0; i < __rows; ++i)
        result[i] = __data[i].min();
    return result;
}

template <class T>
Vector<T> Matrix<T>::max() const {
    Vector<T> result(static_cast<unsigned int>(__rows));
    for (int i = 0; i < __rows; ++i)
        result[i] = __data[i].max();
    return result;
}

template <class T>
Vector<T> Matrix<T>::sum() const {
    Vector<T> result(static_cast<unsigned int>(__rows));
    for (int i = 0; i < __rows; ++i)
        result[i] = __data[i].sum();
    return result;
}

template <class T>
Vector<T> Matrix<T>::mean() const {
    Vector<T> result(static_cast<unsigned int>(__rows));
    for (int i = 0; i < __rows; ++i)
        result[i] = __data[i].mean();
    return result;
}

template <class T>
Vector<T> Matrix<T>::var() const {
    Vector<T> result(static_cast<unsigned int>(__rows));
    for (int i = 0; i < __rows; ++i)
        result[i] = __data[i].var();
    return result;
}

template <class T>
Vector<T> Matrix<T>::std() const {
    Vector<T> result(static_cast<unsigned int>(__rows));
    for (int i = 0; i < __rows; ++i)
        result[i] = __data[i].std();
    return result;
}

template <class T>
Vector<T> Matrix<T>::prod() const {
    Vector<T> result(static_cast<unsigned int>(__rows));
    for (int i = 0; i < __rows; ++i)
        result[i] = __data[i].prod();
    return result;
}

template <class T>
T Matrix<T>::mean2() const {
    if constexpr (!hasStatistics<T>)
        raiseNotAvailable<T>("# Matrix<#>::mean2() const");
    else {
        if (__rows == 0 || __columns == 0)
            return T(0);
        Total<T> total = 0;
        for (int i = 0; i < __rows; ++i) {
            Total<T> rowTotal = 0;
            for (const T x : __data[i])
                rowTotal += x;
            total += rowTotal;
        }
        return T(total / (Total<T>(__rows) * Total<T>(__columns)));
    }
}

template <class T>
T Matrix<T>::var2() const {
    if constexpr (!hasStatistics<T>)
        raiseNotAvailable<T>("# Matrix<#>::var2() const");
    else {
        if (__rows == 0 || __columns == 0)
            return T(0);
        const Total<T> centre = mean2();
        Total<T> total = 0;
        for (int i = 0; i < __rows; ++i) {
            Total<T> rowTotal = 0;
            for (const T x : __data[i])
                rowTotal += (x - centre) * (x - centre);
            total += rowTotal;
        }
        return T(total / (Total<T>(__rows) * Total<T>(__columns)));
    }
}

template <class T>
T Matrix<T>::std2() const {
    if constexpr (!hasStatistics<T>)
        raiseNotAvailable<T>("# Matrix<#>::std2() const");
    else
        return T(std::sqrt(var2()));
}

template <class T>
T Matrix<T>::snorm() const {
    T total = T(0);
    for (int i = 0; i < __rows; ++i)
        total = T(total + __data[i].snorm());
    return total;
}

template <class T>
Vector<T> Matrix<T>::range() const {
    if (__rows == 0 || __columns == 0)
        throw SizeError("Vector<T> Matrix<T>::range() const", "This matrix is empty.");
    Vector<T> result = __data[0].range();
    for (int i = 1; i < __rows; ++i) {
        const Vector<T> rowRange = __data[i].range();
        // A row of NaN alone has NaN for its range, which no comparison takes.
        result[0] = rowRange[0] < result[0] || result[0] != result[0] ? rowRange[0] : result[0];
        result[1] = rowRange[1] > result[1] || result[1] != result[1] ? rowRange[1] : result[1];
    }
    return result;
}

template <class T>
Vector<unsigned int> Matrix<T>::histogram(T first, T width, unsigned int bins) const {
    Vector<unsigned int> result(bins);
    result.setZeros();
    for (int i = 0; i < __rows; ++i)
        result += __data[i].histogram(first, width, static_cast<int>(bins));
    return result;
}

template <class T>
bool Matrix<T>::operator==(const Matrix& other) const {
    if (__rows != other.__rows || __columns != other.__columns)
        return false;
    for (int i = 0; i < __rows; ++i)
        if (__data[i] != other.__data[i])
            return false;
    return true;
}

template <class T>
bool Matrix<T>::operator!=(const Matrix& other) const {
    return !(*this == other);
}

template <class T>
Matrix<T> Matrix<T>::operator-() const {
    Matrix result;
    result.__allocate(__rows, __columns);
    for (int i = 0; i < __rows; ++i)
        std::transform(__data[i].begin(), __data[i].end(), result.__data[i].begin(), [](T x) { return T(-x); });
    return result;
}

template <class T>
Matrix<T> Matrix<T>::operator+(const Matrix& other) const {
    checkShapes(*this, other, "Matrix<T> Matrix<T>::operator+(const Matrix&) const");
    Matrix result(*this);
    for (int i = 0; i < __rows; ++i)
        result.__data[i] += other.__data[i];
    return result;
}

template <class T>
Matrix<T> Matrix<T>::operator-(const Matrix& other) const {
    checkShapes(*this, other, "Matrix<T> Matrix<T>::operator-(const Matrix&) const");
    Matrix result(*this);
    for (int i = 0; i < __rows; ++i)
        result.__data[i] -= other.__data[i];
    return result;
}

template <class T>
void Matrix<T>::operator+=(const Matrix& other) {
    checkShapes(*this, other, "void Matrix<T>::operator+=(const Matrix&)");
    for (int i = 0; i < __rows; ++i)
        __data[i] += other.__data[i];
}

template <class T>
void Matrix<T>::operator-=(const Matrix& other) {
    checkShapes(*this, other, "void Matrix<T>::operator-=(const Matrix&)");
    for (int i = 0; i < __rows; ++i)
        __data[i] -= other.__data[i];
}

template <class T>
Matrix<T> Matrix<T>::pointwiseProduct(const Matrix& other) const {
    checkShapes(*this, other, "Matrix<T> Matrix<T>::pointwiseProduct(const Matrix&) const");
    Matrix result;
    result.__allocate(__rows, __columns);
    for (int i = 0; i < __rows; ++i) {
        const T* a = __data[i].data();
        const T* b = other.__data[i].data();
        T* to = result.__data[i].data();
        for (int j = 0; j < __columns; ++j)
            to[j] = T(a[j] * b[j]);
    }
    return result;
}

// Each row of the result is a combination of the rows of the right factor, all read in order.
template <class T>
Matrix<T> Matrix<T>::operator*(const Matrix& other) const {
    if (__columns != other.__rows)
        throw SizeError("Matrix<T> Matrix<T>::operator*(const Matrix&) const",
                        "The dimensions of the two matrices are not compatible");
    Matrix result;
    result.setZeros(__rows, other.__columns);
    // Small products are not worth the copies of the blocked form.
    constexpr int leastBlocked = 16;
    if (!std::is_floating_point_v<T> || __columns < leastBlocked) {
        for (int i = 0; i < __rows; ++i)
            for (int k = 0; k < __columns; ++k)
                addMultiple(result.__data[i].data(), __data[i][k], other.__data[k].data(), other.__columns);
    } else if constexpr (std::is_floating_point_v<T>) {
        // In blocks of rows of the right factor that stay in the second cache.
        constexpr int depth = 64;
        std::vector<T> packed(static_cast<std::size_t>(rowkernels::packedSize(depth, other.__columns)));
        std::vector<T*> to(static_cast<std::size_t>(__rows));
        std::vector<T*> left(static_cast<std::size_t>(__rows));
        std::vector<T*> right(static_cast<std::size_t>(__columns));
        for (int i = 0; i < __rows; ++i) {
            to[i] = result.__data[i].data();
            left[i] = const_cast<T*>(__data[i].data());
        }
        for (int k = 0; k < __columns; ++k)
            right[k] = const_cast<T*>(other.__data[k].data());
        for (int first = 0; first < __columns; first += depth)
            rowkernels::subtractProduct(to.data(), 0, left.data(), first, right.data() + first, 0, __rows,
                                        std::min(depth, __columns - first), other.__columns, packed.data());
        for (int i = 0; i < __rows; ++i)
            for (T& x : result.__data[i])
                x = T(0) - x;
    }
    return result;
}

template <class T>
void Matrix<T>::operator*=(const Matrix& other) {
    if (__columns != other.__rows)
        throw SizeError("void Matrix<T>::operator*=(const Matrix&)",
                        "The dimensions of the two matrices are not compatible");
    *this = *this * other;
}

template <class T>
Vector<T> Matrix<T>::operator*(const Vector<T>& v) const {
    if (v.getSize() != __columns)
        throw SizeError("Vector<T> Matrix<T>::operator*(const Vector<T>&)",
                        "Incompatible vector and matrix dimensions");
    Vector<T> result(static_cast<unsigned int>(__rows));
    for (int i = 0; i < __rows; ++i)
        result[i] = __data[i].scalarProduct(v);
    return result;
}

template <class T>
Matrix<T> Matrix<T>::operator+(T value) const {
    Matrix result(*this);
    result += value;
    return result;
}

template <class T>
Matrix<T> Matrix<T>::operator-(T value) const {
    Matrix result(*this);
    result -= value;
    return result;
}

template <class T>
Matrix<T> Matrix<T>::operator*(T value) const {
    Matrix result(*this);
    result *= value;
    return result;
}

template <class T>
Matrix<T> Matrix<T>::operator/(T value) const {
    Matrix result(*this);
    result /= value;
    return result;
}

template <class T>
void Matrix<T>::operator+=(T value) {
    for (int i = 0; i < __rows; ++i)
        __data[i] += value;
}

template <class T>
void Matrix<T>::operator-=(T value) {
    for (int i = 0; i < __rows; ++i)
        __data[i] -= value;
}

template <class T>
void Matrix<T>::operator*=(T value) {
    for (int i = 0; i < __rows; ++i)
        __data[i] *= value;
}

template <class T>
void Matrix<T>::operator/=(T value) {
    for (int i = 0; i < __rows; ++i)
        __data[i] /= value;
}

template <class T>
void Matrix<T>::sortRows(int col) {
    sortRows(col, 0, __rows - 1);
}

template <class T>
void Matrix<T>::sortRows(int col, int first, int last) {
    if (first > last)
        std::swap(first, last);
    if (__rows < 2 || first == last)
        return;
    std::vector<__SortRowData<T>> order;
    order.reserve(static_cast<std::size_t>(last - first + 1));
    for (int i = first; i <= last; ++i)
        order.push_back({i - first, &__data[i][col]});
    std::sort(order.begin(), order.end());
    // Follows each cycle of the permutation; a row that has its place is marked by pointing at itself.
    for (int i = 0; i < int(order.size()); ++i) {
        int place = i;
        while (order[place].row != i) {
            const int next = order[place].row;
            swapRows(first + place, first + next);
            order[place].row = place;
            place = next;
        }
        order[place].row = place;
    }
}

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

template class Matrix<bool>;
template class Matrix<char>;
template class Matrix<unsigned char>;
template class Matrix<short>;
template class Matrix<unsigned short>;
template class Matrix<int>;
template class Matrix<unsigned int>;
template class Matrix<float>;
template class Matrix<double>;
template class Matrix<long double>;

template Matrix<int> Matrix<int>::toType<int>() const;
template Matrix<float> Matrix<int>::toType<float>() const;
template Matrix<double> Matrix<int>::toType<double>() const;
template Matrix<long double> Matrix<int>::toType<long double>() const;
template Matrix<int> Matrix<float>::toType<int>() const;
template Matrix<float> Matrix<float>::toType<float>() const;
template Matrix<double> Matrix<float>::toType<double>() const;
template Matrix<long double> Matrix<float>::toType<long double>() const;
template Matrix<int> Matrix<double>::toType<int>() const;
template Matrix<float> Matrix<double>::toType<float>() const;
template Matrix<double> Matrix<double>::toType<double>() const;
template Matrix<long double> Matrix<double>::toType<long double>() const;
template Matrix<int> Matrix<long double>::toType<int>() const;
template Matrix<float> Matrix<long double>::toType<float>() const;
template Matrix<double> Matrix<long double>::toType<double>() const;
template Matrix<long double> Matrix<long double>::toType<long double>() const;

} // namespace vorlen
