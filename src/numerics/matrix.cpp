#include "numerics/matrix.h"

#include "numerics/elementarithmetic.h"
#include "numerics/elementtype.h"
#include "numerics/exception.h"
#include "numerics/matrixelements.h"
#include "numerics/numericio.h"
#include "numerics/rowkernels.h"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>
#include <vector>

namespace vorlen {

using namespace matrixelements;

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
void checkShapes(const Matrix<T>& a, const Matrix<T>& b, const char* where) {
    if (a.getSize1() != b.getSize1() || a.getSize2() != b.getSize2())
        throw SizeError(where, "The dimensions of the two matrices differ");
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
