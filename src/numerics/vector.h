#pragma once

#include <algorithm>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <type_traits>

namespace vorlen {

template <class T>
class Matrix;
template <class T>
class Numbers;

/// Element types with which a Vector computes. Vectors of pointers are plain arrays and have the storage operations,
/// the parts, the comparisons and the ordering only.
template <class T>
concept VectorNumber = std::is_arithmetic_v<T>;

/// The one-dimensional numeric container: coordinate, signal, sample, and row of a Matrix.
///
/// Storage is exact: a change of size allocates for just the new number of elements and loses the old contents. Up to
/// four elements lie inside the object, so points cost no allocation; data() of such a vector points into the vector
/// itself and does not survive a move or a swap. Elements are not initialised by the sized constructor or setSize().
///
/// A vector is deep (it owns its elements) or shallow (it views an array that belongs to someone else, which must
/// outlive it). All constructors and all returned vectors are deep, but for those of view(). A vector keeps its flag
/// for life: a shallow one cannot change its size, and assigning or moving to it writes into the viewed array. Moving
/// from a deep vector takes its elements and leaves it empty; moving from a shallow one copies.
///
/// Index arguments are the caller's contract and are not checked. Operations between vectors of different sizes throw
/// SizeError, statistics of an empty vector throw SizeError, and operations that make no sense for an integer T throw
/// TypeError in that instantiation. A check comes before any change.
///
/// Compiled for bool, char, unsigned char, short, unsigned short, int, unsigned int, float, double, long double,
/// Model* and Vertices<int>*.
template <class T>
class Vector {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    using value_type = T;

    Vector() {} // not defaulted, which would clear the elements inside the object for nothing
    explicit Vector(unsigned int n) { __allocate(static_cast<int>(n)); }
    Vector(const Vector& v) {
        __allocate(v.__size);
        __copy(v.__data, __size, __data);
    }
    Vector(Vector&& v) noexcept { __take(v); }
    Vector& operator=(const Vector& v) {
        if (this != &v) {
            if (__size != v.__size)
                __resize(v.__size);
            __copy(v.__data, __size, __data);
        }
        return *this;
    }
    Vector& operator=(Vector&& v) {
        if (__shallow || v.__shallow || v.__size <= insideCapacity)
            return *this = static_cast<const Vector&>(v);
        if (this != &v) {
            __free();
            __take(v);
        }
        return *this;
    }
    virtual ~Vector() { __free(); }

    /// Shallow vector over the n elements at data, which it neither frees nor resizes.
    static Vector view(T* data, int n) { return Vector(data, n); }

    /// Nothing happens if n is the size; otherwise the contents are lost. n below 0 counts as 0.
    /// Throws UsageError when a shallow vector would change its size.
    void setSize(int n) {
        // A point is sized without a call: stores of vertices make millions.
        if (!__shallow && n > 0 && n <= insideCapacity && __size <= insideCapacity) {
            __size = n;
            __data = __inside;
        } else if (n != __size) {
            __resize(n);
        }
    }
    int getSize() const { return __size; }
    T& operator[](int i) { return __data[i]; }
    const T& operator[](int i) const { return __data[i]; }
    /// The elements, contiguous; null when there are none.
    T* data() { return __data; }
    const T* data() const { return __data; }
    T* begin() { return __data; }
    T* end() { return __data + __size; }
    const T* begin() const { return __data; }
    const T* end() const { return __data + __size; }
    bool isShallow() const { return __shallow; }

    /// Exchanges the contents in constant time. If one of the two is shallow, the elements are exchanged one by one
    /// and the sizes must agree, or UsageError is thrown.
    void swap(Vector& v);
    /// Converted elements; between int, float, double and long double.
    template <class U>
    Vector<U> toType() const;

    void fill(T x);
    void setZeros() requires VectorNumber<T>;
    void setZeros(int n) requires VectorNumber<T>;
    void setOnes() requires VectorNumber<T>;
    void setOnes(int n) requires VectorNumber<T>;
    /// All zero but element k, which is one.
    void setCanonical(int k) requires VectorNumber<T>;
    /// Element i becomes i * step.
    void setSequence(T step) requires VectorNumber<T>;
    /// Element i becomes first + i * step.
    void setSequence(T first, T step) requires VectorNumber<T>;
    /// Replaces each element x by f(x).
    void apply(T (*f)(T));

    /// Elements first to last, both included.
    Vector copy(int first, int last) const;
    /// Overwrites the elements from pos on. Throws SizeError when v does not fit.
    void paste(int pos, const Vector& v);
    /// Puts v behind, or before, the elements; v may be this vector. Throws UsageError on a shallow vector.
    void append(const Vector& v);
    void prepend(const Vector& v);

    T min() const;
    T max() const;
    /// Two elements: minimum, maximum.
    Vector range() const;
    /// Index of the first element equal to x; -1 if there is none. Throws SizeError on an empty vector.
    int find(const T& x) const;
    /// Index of the first smallest, first greatest element.
    int minPos() const;
    int maxPos() const;
    /// Accumulated in element order, in T.
    T sum() const requires VectorNumber<T>;
    T prod() const requires VectorNumber<T>;
    T mean() const requires VectorNumber<T>;
    /// Middle value; for an even size the mean of the two middle ones, truncated for integer T. NaNs count as greatest.
    T median() const requires VectorNumber<T>;
    /// Sum of the squared deviations from the mean.
    T sse() const requires VectorNumber<T>;
    /// Population variance, sse() / n, and its square root.
    T var() const requires VectorNumber<T>;
    T std() const requires VectorNumber<T>;
    /// Median of the absolute deviations from the median.
    T mad() const requires VectorNumber<T>;
    /// Standard error of the mean: of a sample, std with n-1 over sqrt(n), or of a whole population, std over sqrt(n).
    /// Throws SizeError on an empty vector, and for the sample form on a single value.
    T sem(bool sample) const requires VectorNumber<T>;
    /// Count, minimum, maximum, median, sum and mean.
    Numbers<T> numbers() const requires VectorNumber<T>;
    /// Running sum and running product; empty for an empty vector.
    Vector csum() const requires VectorNumber<T>;
    Vector cprod() const requires VectorNumber<T>;
    /// Element i is v[i+k] - v[i]; the last k elements are 0. Throws SizeError unless the size exceeds k, and
    /// UsageError for a negative k.
    Vector diff(int k) const requires VectorNumber<T>;
    /// Element number round((n-1)*p/100) of this vector, which must be increasing (UsageError). p is a percentage;
    /// below 0 it counts as 0, above 100 as 100.
    T percentile(float p) const;
    /// Counts of the elements in bins with the lower edges first + k * width. Elements below the first edge count in
    /// the first bin, elements above all edges, and NaNs, in the last. Empty when bins is not above 0.
    Vector<unsigned int> histogram(T first, T width, int bins) const requires VectorNumber<T>;
    /// Same over the elements whose mask is not zero. Throws SizeError when the sizes differ.
    Vector<unsigned int> histogram(T first, T width, int bins, const Vector& mask) const requires VectorNumber<T>;

    /// Ascending, in place; NaNs go to the end.
    void sort();
    void reverse();
    /// Equal neighbours pass. Throw SizeError on an empty vector.
    bool isIncreasing() const;
    bool isDecreasing() const;
    /// v[i] == v[n-1-i] for all i; true for fewer than two elements.
    bool isSymmetrical() const;
    /// v[i] == -v[n-1-i] for i below the middle; the middle element of an odd size is not looked at. False for fewer
    /// than two elements.
    bool isAntiSymmetrical() const requires VectorNumber<T>;
    bool operator==(const Vector& v) const;
    bool operator!=(const Vector& v) const;

    Vector operator-() const requires VectorNumber<T>;
    Vector operator+(const Vector& v) const requires VectorNumber<T>;
    Vector operator-(const Vector& v) const requires VectorNumber<T>;
    Vector operator/(const Vector& v) const requires VectorNumber<T>;
    void operator+=(const Vector& v) requires VectorNumber<T>;
    void operator-=(const Vector& v) requires VectorNumber<T>;
    void operator/=(const Vector& v) requires VectorNumber<T>;
    Vector pointwiseProduct(const Vector& v) const requires VectorNumber<T>;
    void operator+=(T x) requires VectorNumber<T>;
    void operator-=(T x) requires VectorNumber<T>;
    void operator*=(T x) requires VectorNumber<T>;
    void operator/=(T x) requires VectorNumber<T>;
    Vector operator+(T x) const requires VectorNumber<T>;
    Vector operator-(T x) const requires VectorNumber<T>;
    Vector operator*(T x) const requires VectorNumber<T>;
    Vector operator/(T x) const requires VectorNumber<T>;

    /// Cross product. Throws SizeError unless both sizes are 3.
    Vector vectorProduct(const Vector& v) const requires VectorNumber<T>;
    /// Entry (i, j) is this[i] * v[j].
    Matrix<T> outerProduct(const Vector& v) const requires VectorNumber<T>;
    /// 0 for empty vectors.
    T scalarProduct(const Vector& v) const requires VectorNumber<T>;
    /// Square of the norm.
    T snorm() const requires VectorNumber<T>;
    T norm() const requires VectorNumber<T>;
    /// Divides by the norm; a null vector stays as it is.
    void normalize() requires VectorNumber<T>;
    /// Squared Euclidean distance; 0 for empty vectors.
    T sdistance(const Vector& v) const requires VectorNumber<T>;
    T distance(const Vector& v) const requires VectorNumber<T>;
    /// In radians, from 0 to pi; NaN when one of the vectors is null. A cosine that rounding pushed past 1 counts as 1.
    T angle(const Vector& v) const requires VectorNumber<T>;
    /// Index of the first element of greatest absolute value; -1 for an empty vector.
    int closestAxis() const requires VectorNumber<T>;

    /// Centred correlation: element i is the sum over q of v[i+q-c] * kernel[q], with c half the kernel's size; terms
    /// outside the vector are dropped. One multiplication and one addition for each element and tap.
    Vector corr(const Vector& kernel) const requires VectorNumber<T>;
    /// Correlation over the elements whose mask is not zero: the weight of an absent sample (masked, or outside the
    /// vector) goes to the one at the same distance on the other side. Masked elements keep their value.
    /// Throws SizeError when the mask's size is not the vector's.
    Vector corr(const Vector& kernel, const Vector& mask) const requires VectorNumber<T>;
    /// Correlation with the reversed kernel.
    Vector conv(const Vector& kernel) const requires VectorNumber<T>;
    Vector conv(const Vector& kernel, const Vector& mask) const requires VectorNumber<T>;

    /// Replaces this vector x by v with v[0] = 1 such that (I - beta v v^T) x has zeros behind its first element.
    /// Golub and Van Loan, Matrix Computations, algorithm 5.1.1. An empty vector gives beta 0.
    void householderVector(T& beta) requires VectorNumber<T>;
    void householderVector(Vector& v, T& beta) const requires VectorNumber<T>;
    /// Working precision: 1e-6 for float, 1e-15 for double, 1e-18 for long double, 0 for bool.
    static T epsilon() requires VectorNumber<T>;

    /// Title, then the elements in the format of NumericIO. The elements go to the standard output when stream is
    /// std::cout, and to the standard error for every other stream; title and line ends go to the stream.
    void print(const std::string& title, std::ostream& stream) const requires VectorNumber<T>;

private:
    static constexpr int insideCapacity = 4;

    Vector(T* data, int n) : __size(n > 0 ? n : 0), __shallow(true), __data(n > 0 ? data : nullptr) {}

    // A point is copied without the call and the tests of a block copy.
    static void __copy(const T* from, int n, T* to) {
        switch (n) {
        case 4:
            to[3] = from[3];
            [[fallthrough]];
        case 3:
            to[2] = from[2];
            [[fallthrough]];
        case 2:
            to[1] = from[1];
            [[fallthrough]];
        case 1:
            to[0] = from[0];
            [[fallthrough]];
        case 0:
            break;
        default:
            std::copy_n(from, n, to);
        }
    }
    void __allocate(int n) {
        __size = n > 0 ? n : 0;
        __data = __size == 0 ? nullptr : __size <= insideCapacity ? __inside : new T[static_cast<std::size_t>(__size)];
    }
    void __free() {
        if (__data != __inside && !__shallow)
            delete[] __data;
    }
    // For a deep vector that owns nothing at the moment.
    void __take(Vector& v) {
        if (v.__shallow || v.__size <= insideCapacity) {
            __allocate(v.__size);
            __copy(v.__data, __size, __data);
        } else {
            __size = v.__size;
            __data = v.__data;
        }
        if (!v.__shallow) {
            v.__size = 0;
            v.__data = nullptr;
        }
    }
    void __resize(int n);

    int __size = 0;
    bool __shallow = false;
    T* __data = nullptr; // null, __inside, an array of its own, or one that belongs to someone else
    T __inside[insideCapacity];
};

using Vectorui = Vector<unsigned int>;
using Vectori = Vector<int>;

} // namespace vorlen
