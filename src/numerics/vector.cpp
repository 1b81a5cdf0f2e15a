#include "numerics/vector.h"

#include <cmath>
#include <cstdio>
#include <functional>
#include <iostream>
#include <type_traits>
#include <utility>

#include "numerics/elementarithmetic.h"
#include "numerics/exception.h"
#include "numerics/matrix.h"
#include "numerics/numericio.h"
#include "numerics/vectorchecks.h"

namespace vorlen {

class Model;
template <class T>
class Vertices;

using namespace elements;
using namespace vectorchecks;

namespace {

const char* const shallowSentence = "This is a shallow vector (cannot be resized)";
const char* const dimensionSentence = "Incompatible vector dimensions";
const char* const differentSizesSentence = "The two vectors have different sizes";

} // namespace

template <class T>
void Vector<T>::__resize(int n) {
    if (__shallow)
        throw UsageError("void Vector<T>::setSize(const int)", shallowSentence);
    n = std::max(n, 0);
    if (n == __size)
        return;
    T* const data = n == 0 ? nullptr : n <= insideCapacity ? __inside : new T[static_cast<std::size_t>(n)];
    __free();
    __data = data;
    __size = n;
}

template <class T>
void Vector<T>::swap(Vector& v) {
    if (this == &v)
        return;
    if (!__shallow && !v.__shallow) {
        if (__size > insideCapacity && v.__size > insideCapacity) {
            std::swap(__size, v.__size);
            std::swap(__data, v.__data);
        } else {
            Vector old(std::move(*this));
            __take(v);
            v.__take(old);
        }
        return;
    }
    if (__size != v.__size)
        throw UsageError("void Vector<T>::swap(Vector&)", "Vector size differ and at least one of them is shallow");
    std::swap_ranges(begin(), end(), v.begin());
}

template <class T>
template <class U>
Vector<U> Vector<T>::toType() const {
    Vector<U> result(static_cast<unsigned int>(__size));
    U* const to = result.data();
    for (int i = 0; i < __size; ++i)
        to[i] = converted<U>(__data[i]);
    return result;
}

template <class T>
void Vector<T>::fill(T x) {
    std::fill_n(__data, __size, x);
}

template <class T>
void Vector<T>::setZeros() requires VectorNumber<T> {
    fill(T(0));
}

template <class T>
void Vector<T>::setZeros(int n) requires VectorNumber<T> {
    setSize(n);
    fill(T(0));
}

template <class T>
void Vector<T>::setOnes() requires VectorNumber<T> {
    fill(T(1));
}

template <class T>
void Vector<T>::setOnes(int n) requires VectorNumber<T> {
    setSize(n);
    fill(T(1));
}

template <class T>
void Vector<T>::setCanonical(int k) requires VectorNumber<T> {
    fill(T(0));
    __data[k] = T(1);
}

template <class T>
void Vector<T>::setSequence(T step) requires VectorNumber<T> {
    for (int i = 0; i < __size; ++i)
        __data[i] = productOf(static_cast<T>(i), step);
}

template <class T>
void Vector<T>::setSequence(T first, T step) requires VectorNumber<T> {
    for (int i = 0; i < __size; ++i)
        __data[i] = sumOf(first, productOf(static_cast<T>(i), step));
}

template <class T>
void Vector<T>::apply(T (*f)(T)) {
    for (int i = 0; i < __size; ++i)
        __data[i] = f(__data[i]);
}

template <class T>
Vector<T> Vector<T>::copy(int first, int last) const {
    const int n = std::max(last - first + 1, 0);
    Vector result(static_cast<unsigned int>(n));
    if (n > 0)
        std::copy_n(__data + first, n, result.__data);
    return result;
}

template <class T>
void Vector<T>::paste(int pos, const Vector& v) {
    if (static_cast<long long>(pos) + v.__size > __size)
        throw SizeError("Vector Vector<T>::paste(...)", "Vector to large to be pasted at specified position");
    if (v.__size > 0)
        std::copy_n(v.__data, v.__size, __data + pos);
}

template <class T>
void Vector<T>::append(const Vector& v) {
    if (__shallow)
        throw UsageError("void Vector<T>::append(const Vector&)", shallowSentence);
    Vector joined(static_cast<unsigned int>(__size + v.__size));
    joined.paste(0, *this);
    joined.paste(__size, v);
    swap(joined);
}

template <class T>
void Vector<T>::prepend(const Vector& v) {
    if (__shallow)
        throw UsageError("void Vector<T>::prepend(const Vector&)", shallowSentence);
    Vector joined(static_cast<unsigned int>(__size + v.__size));
    joined.paste(0, v);
    joined.paste(v.__size, *this);
    swap(joined);
}

template <class T>
T Vector<T>::min() const {
    checkNotEmpty(__size, "T Vector<T>::min() const");
    // No comparison with a NaN holds: none is taken but in first place.
    int i = firstNumber(__data, __size);
    T result = __data[i];
    for (++i; i < __size; ++i)
        result = __data[i] < result ? __data[i] : result;
    return result;
}

template <class T>
T Vector<T>::max() const {
    checkNotEmpty(__size, "T Vector<T>::max() const");
    int i = firstNumber(__data, __size);
    T result = __data[i];
    for (++i; i < __size; ++i)
        result = result < __data[i] ? __data[i] : result;
    return result;
}

template <class T>
Vector<T> Vector<T>::range() const {
    checkNotEmpty(__size, "Vector<T> Vector<T>::range() const");
    Vector result(2);
    result[0] = min();
    result[1] = max();
    return result;
}

template <class T>
int Vector<T>::find(const T& x) const {
    checkNotEmpty(__size, "int Vector<T>::find(const T&) const");
    const T* const found = std::find(begin(), end(), x);
    return found == end() ? -1 : static_cast<int>(found - begin());
}

template <class T>
int Vector<T>::minPos() const {
    checkNotEmpty(__size, "int Vector<T>::minPos() const");
    return static_cast<int>(std::min_element(begin(), end()) - begin());
}

template <class T>
int Vector<T>::maxPos() const {
    checkNotEmpty(__size, "int Vector<T>::maxPos() const");
    return static_cast<int>(std::max_element(begin(), end()) - begin());
}

template <class T>
T Vector<T>::percentile(float p) const {
    if (!isIncreasing())
        throw UsageError("T Vector::percentile(const float) const", "This vector is not sorted in increasing order");
    const double last = __size - 1;
    const double position = std::floor(last * p / 100 + 0.5);
    return __data[!(position > 0) ? 0 : position > last ? __size - 1 : static_cast<int>(position)];
}

template <class T>
void Vector<T>::sort() {
    std::sort(__data, __data + putNaNsLast(__data, __size), std::less<T>());
}

template <class T>
void Vector<T>::reverse() {
    std::reverse(begin(), end());
}

template <class T>
bool Vector<T>::isIncreasing() const {
    checkNotEmpty(__size, "bool Vector<T>::isIncreasing() const");
    for (int i = 1; i < __size; ++i)
        if (__data[i] < __data[i - 1])
            return false;
    return true;
}

template <class T>
bool Vector<T>::isDecreasing() const {
    checkNotEmpty(__size, "bool Vector<T>::isDecreasing() const");
    for (int i = 1; i < __size; ++i)
        if (__data[i - 1] < __data[i])
            return false;
    return true;
}

template <class T>
bool Vector<T>::isSymmetrical() const {
    for (int i = 0, j = __size - 1; i < j; ++i, --j)
        if (__data[i] != __data[j])
            return false;
    return true;
}

template <class T>
bool Vector<T>::isAntiSymmetrical() const requires VectorNumber<T> {
    if (__size < 2)
        return false;
    for (int i = 0, j = __size - 1; i < j; ++i, --j)
        if (__data[i] != negative(__data[j]))
            return false;
    return true;
}

template <class T>
bool Vector<T>::operator==(const Vector& v) const {
    return __size == v.__size && std::equal(begin(), end(), v.begin());
}

template <class T>
bool Vector<T>::operator!=(const Vector& v) const {
    return !(*this == v);
}

template <class T>
Vector<T> Vector<T>::operator-() const requires VectorNumber<T> {
    Vector result(static_cast<unsigned int>(__size));
    for (int i = 0; i < __size; ++i)
        result.__data[i] = negative(__data[i]);
    return result;
}

template <class T>
Vector<T> Vector<T>::operator+(const Vector& v) const requires VectorNumber<T> {
    checkSameSize(__size, v.__size, "Vector Vector<T>::operator+(const Vector&) const", dimensionSentence);
    Vector result(static_cast<unsigned int>(__size));
    for (int i = 0; i < __size; ++i)
        result.__data[i] = sumOf(__data[i], v.__data[i]);
    return result;
}

template <class T>
Vector<T> Vector<T>::operator-(const Vector& v) const requires VectorNumber<T> {
    checkSameSize(__size, v.__size, "Vector<T> Vector<T>::operator-(const Vector&) const", dimensionSentence);
    Vector result(static_cast<unsigned int>(__size));
    for (int i = 0; i < __size; ++i)
        result.__data[i] = differenceOf(__data[i], v.__data[i]);
    return result;
}

template <class T>
Vector<T> Vector<T>::operator/(const Vector& v) const requires VectorNumber<T> {
    checkSameSize(__size, v.__size, "Vector<T> Vector<T>::operator/(const Vector&) const", dimensionSentence);
    Vector result(static_cast<unsigned int>(__size));
    for (int i = 0; i < __size; ++i)
        result.__data[i] = quotientOf(__data[i], v.__data[i]);
    return result;
}

template <class T>
void Vector<T>::operator+=(const Vector& v) requires VectorNumber<T> {
    checkSameSize(__size, v.__size, "void Vector<T>::operator+=(const Vector&)", dimensionSentence);
    for (int i = 0; i < __size; ++i)
        __data[i] = sumOf(__data[i], v.__data[i]);
}

template <class T>
void Vector<T>::operator-=(const Vector& v) requires VectorNumber<T> {
    checkSameSize(__size, v.__size, "void Vector<T>::operator-=(const Vector&)", dimensionSentence);
    for (int i = 0; i < __size; ++i)
        __data[i] = differenceOf(__data[i], v.__data[i]);
}

template <class T>
void Vector<T>::operator/=(const Vector& v) requires VectorNumber<T> {
    checkSameSize(__size, v.__size, "void Vector<T>::operator/=(const Vector&)", dimensionSentence);
    for (int i = 0; i < __size; ++i)
        __data[i] = quotientOf(__data[i], v.__data[i]);
}

template <class T>
Vector<T> Vector<T>::pointwiseProduct(const Vector& v) const requires VectorNumber<T> {
    checkSameSize(__size, v.__size, "Vector pointwiseProduct(const Vector&) const", differentSizesSentence);
    Vector result(static_cast<unsigned int>(__size));
    for (int i = 0; i < __size; ++i)
        result.__data[i] = productOf(__data[i], v.__data[i]);
    return result;
}

template <class T>
void Vector<T>::operator+=(T x) requires VectorNumber<T> {
    for (int i = 0; i < __size; ++i)
        __data[i] = sumOf(__data[i], x);
}

template <class T>
void Vector<T>::operator-=(T x) requires VectorNumber<T> {
    for (int i = 0; i < __size; ++i)
        __data[i] = differenceOf(__data[i], x);
}

template <class T>
void Vector<T>::operator*=(T x) requires VectorNumber<T> {
    for (int i = 0; i < __size; ++i)
        __data[i] = productOf(__data[i], x);
}

template <class T>
void Vector<T>::operator/=(T x) requires VectorNumber<T> {
    for (int i = 0; i < __size; ++i)
        __data[i] = quotientOf(__data[i], x);
}

template <class T>
Vector<T> Vector<T>::operator+(T x) const requires VectorNumber<T> {
    Vector result(static_cast<unsigned int>(__size));
    for (int i = 0; i < __size; ++i)
        result.__data[i] = sumOf(__data[i], x);
    return result;
}

template <class T>
Vector<T> Vector<T>::operator-(T x) const requires VectorNumber<T> {
    Vector result(static_cast<unsigned int>(__size));
    for (int i = 0; i < __size; ++i)
        result.__data[i] = differenceOf(__data[i], x);
    return result;
}

template <class T>
Vector<T> Vector<T>::operator*(T x) const requires VectorNumber<T> {
    Vector result(static_cast<unsigned int>(__size));
    for (int i = 0; i < __size; ++i)
        result.__data[i] = productOf(__data[i], x);
    return result;
}

template <class T>
Vector<T> Vector<T>::operator/(T x) const requires VectorNumber<T> {
    Vector result(static_cast<unsigned int>(__size));
    for (int i = 0; i < __size; ++i)
        result.__data[i] = quotientOf(__data[i], x);
    return result;
}

template <class T>
Vector<T> Vector<T>::vectorProduct(const Vector& v) const requires VectorNumber<T> {
    if (__size != 3 || v.__size != 3)
        throw SizeError("Vector vectorProduct(const Vector&) const",
                        "At least one vector have a size different from 3");
    const T* const a = __data;
    const T* const b = v.__data;
    Vector result(3);
    result[0] = differenceOf(productOf(a[1], b[2]), productOf(a[2], b[1]));
    result[1] = differenceOf(productOf(a[2], b[0]), productOf(a[0], b[2]));
    result[2] = differenceOf(productOf(a[0], b[1]), productOf(a[1], b[0]));
    return result;
}

template <class T>
Matrix<T> Vector<T>::outerProduct(const Vector& v) const requires VectorNumber<T> {
    Matrix<T> result(static_cast<unsigned int>(__size), static_cast<unsigned int>(v.__size));
    for (int i = 0; i < __size; ++i) {
        T* const row = result[i].data();
        const T factor = __data[i];
        for (int j = 0; j < v.__size; ++j)
            row[j] = productOf(factor, v.__data[j]);
    }
    return result;
}

template <class T>
T Vector<T>::scalarProduct(const Vector& v) const requires VectorNumber<T> {
    checkSameSize(__size, v.__size, "T Vector<T>::scalarProduct(const Vector&) const", differentSizesSentence);
    return accumulate<T>(__size, [a = __data, b = v.__data](int i) { return productOf(a[i], b[i]); });
}

template <class T>
T Vector<T>::snorm() const requires VectorNumber<T> {
    return scalarProduct(*this);
}

template <class T>
T Vector<T>::norm() const requires VectorNumber<T> {
    if constexpr (isPlainInteger<T>)
        refuse<T>("norm() const");
    else {
        const auto result = std::sqrt(static_cast<Real<T>>(snorm()));
        return static_cast<T>(result);
    }
}

template <class T>
void Vector<T>::normalize() requires VectorNumber<T> {
    if constexpr (isPlainInteger<T>)
        refuse<T>("normalize()", "void");
    else {
        const T length = norm();
        if (length > T(0))
            *this /= length;
    }
}

template <class T>
T Vector<T>::sdistance(const Vector& v) const requires VectorNumber<T> {
    checkSameSize(__size, v.__size, "T Vector<T>::sdistance(const Vector&) const", differentSizesSentence);
    return accumulate<T>(__size, [a = __data, b = v.__data](int i) {
        const T difference = differenceOf(a[i], b[i]);
        return productOf(difference, difference);
    });
}

template <class T>
T Vector<T>::distance(const Vector& v) const requires VectorNumber<T> {
    if constexpr (isRefusedInteger<T>)
        refuse<T>("distance(const Vector&) const");
    else {
        const auto result = std::sqrt(static_cast<Real<T>>(sdistance(v)));
        return static_cast<T>(result);
    }
}

template <class T>
T Vector<T>::angle(const Vector& v) const requires VectorNumber<T> {
    const auto product = static_cast<Real<T>>(scalarProduct(v));
    const auto norms = static_cast<Real<T>>(norm()) * static_cast<Real<T>>(v.norm());
    const auto result = std::acos(std::clamp(product / norms, Real<T>(-1), Real<T>(1)));
    return static_cast<T>(result);
}

template <class T>
int Vector<T>::closestAxis() const requires VectorNumber<T> {
    int axis = __size > 0 ? 0 : -1;
    for (int i = 1; i < __size; ++i)
        if (absolute(__data[axis]) < absolute(__data[i]))
            axis = i;
    return axis;
}

template <class T>
Vector<T> Vector<T>::corr(const Vector& kernel) const requires VectorNumber<T> {
    Vector result(static_cast<unsigned int>(__size));
    result.fill(T(0));
    // Tap by tap over a block that stays in the nearest cache: each tap is one pass without branches, and every
    // element still gets its terms in the order of the taps.
    constexpr int blockSize = 1024;
    const int centre = kernel.__size / 2;
    for (int block = 0; block < __size; block += blockSize) {
        const int blockEnd = std::min(block + blockSize, __size);
        for (int q = 0; q < kernel.__size; ++q) {
            const int shift = q - centre;
            const int first = std::max(block, -shift);
            const int last = std::min(blockEnd, __size - shift);
            const T weight = kernel.__data[q];
            const T* const from = __data;
            T* const to = result.__data;
            for (int i = first; i < last; ++i)
                to[i] = sumOf(to[i], productOf(from[i + shift], weight));
        }
    }
    return result;
}

template <class T>
Vector<T> Vector<T>::corr(const Vector& kernel, const Vector& mask) const requires VectorNumber<T> {
    checkSameSize(__size, mask.__size, "Vector<T> Vector<T>::corr(const Vector&, const Vector&) const",
                  "The mask is not the same length as this vector");
    Vector result(*this);
    if (kernel.__size == 0) {
        for (int i = 0; i < __size; ++i)
            if (mask.__data[i] != T(0))
                result.__data[i] = T(0);
        return result;
    }
    const int centre = kernel.__size / 2;
    const int reach = kernel.__size - 1 - centre;
    const T* const weights = kernel.__data + centre;
    for (int i = 0; i < __size; ++i) {
        if (mask.__data[i] == T(0))
            continue;
        T total = productOf(__data[i], weights[0]);
        for (int d = 1; d <= reach; ++d) {
            const int l = i - d;
            const int r = i + d;
            const bool left = l >= 0 && mask.__data[l] != T(0);
            const bool right = r < __size && mask.__data[r] != T(0);
            if (left && right)
                total = sumOf(total, sumOf(productOf(__data[l], weights[-d]), productOf(__data[r], weights[d])));
            else if (left || right)
                total = sumOf(total, productOf(__data[left ? l : r], sumOf(weights[-d], weights[d])));
        }
        result.__data[i] = total;
    }
    return result;
}

template <class T>
Vector<T> Vector<T>::conv(const Vector& kernel) const requires VectorNumber<T> {
    Vector reversed(kernel);
    reversed.reverse();
    return corr(reversed);
}

template <class T>
Vector<T> Vector<T>::conv(const Vector& kernel, const Vector& mask) const requires VectorNumber<T> {
    Vector reversed(kernel);
    reversed.reverse();
    return corr(reversed, mask);
}

template <class T>
void Vector<T>::householderVector(T& beta) requires VectorNumber<T> {
    if constexpr (isRefusedInteger<T>)
        refuse<T>("houseHolderVector(...)", "void");
    else {
        if (__size == 0) {
            beta = T(0);
            return;
        }
        const int tail = __size - 1;
        const T* const rest = __data + 1;
        const Real<T> sigma = accumulate<Real<T>>(tail, [rest](int i) {
            const Real<T> x = static_cast<Real<T>>(rest[i]);
            return x * x;
        });
        const Real<T> x0 = static_cast<Real<T>>(__data[0]);
        if (sigma == 0) {
            setCanonical(0);
            beta = x0 < 0 ? T(2) : T(0);
            return;
        }
        const Real<T> mu = std::sqrt(x0 * x0 + sigma);
        // The first form is x0 - mu without the cancellation of two nearly equal numbers.
        const Real<T> w = x0 > 0 ? -sigma / (x0 + mu) : x0 - mu;
        const Real<T> scaledBeta = 2 * w * w / (sigma + w * w);
        beta = static_cast<T>(scaledBeta);
        for (int i = 1; i < __size; ++i) {
            const Real<T> scaled = static_cast<Real<T>>(__data[i]) / w;
            __data[i] = static_cast<T>(scaled);
        }
        __data[0] = T(1);
    }
}

template <class T>
void Vector<T>::householderVector(Vector& v, T& beta) const requires VectorNumber<T> {
    v = *this;
    v.householderVector(beta);
}

template <class T>
T Vector<T>::epsilon() requires VectorNumber<T> {
    if constexpr (isPlainInteger<T>)
        refuse<T>("epsilon()");
    else if constexpr (std::is_same_v<T, float>)
        return 1e-6f;
    else if constexpr (std::is_same_v<T, double>)
        return 1e-15;
    else if constexpr (std::is_same_v<T, long double>)
        return 1e-18L;
    else
        return T(0);
}

template <class T>
void Vector<T>::print(const std::string& title, std::ostream& stream) const requires VectorNumber<T> {
    const bool transpose = NumericIO::getIOTranspose();
    const double epsilon = NumericIO::getIOEpsilon();
    std::FILE* const file = &stream == &std::cout ? stdout : stderr;
    if (!title.empty()) {
        stream << title;
        if (transpose)
            stream << '\n';
    }
    for (int i = 0; i < __size; ++i) {
        const double x = static_cast<double>(__data[i]);
        std::fprintf(file, "%*.*f", NumericIO::getIOWidth(), NumericIO::getIOPrecision(),
                     std::fabs(x) < epsilon ? 0.0 : x);
        if (transpose)
            stream << '\n';
    }
    if (!transpose)
        stream << '\n';
}

template class Vector<bool>;
template class Vector<char>;
template class Vector<unsigned char>;
template class Vector<short>;
template class Vector<unsigned short>;
template class Vector<int>;
template class Vector<unsigned int>;
template class Vector<float>;
template class Vector<double>;
template class Vector<long double>;
// Pointers: member by member, since some compilers try the operations for numbers too when the class is instantiated.
#define VORLEN_VECTOR_OF_POINTERS(P)                                                                                   \
    template void Vector<P>::swap(Vector<P>&);                                                                         \
    template void Vector<P>::fill(P);                                                                                  \
    template void Vector<P>::apply(P (*)(P));                                                                          \
    template Vector<P> Vector<P>::copy(int, int) const;                                                                \
    template void Vector<P>::paste(int, const Vector<P>&);                                                             \
    template void Vector<P>::append(const Vector<P>&);                                                                 \
    template void Vector<P>::prepend(const Vector<P>&);                                                                \
    template P Vector<P>::min() const;                                                                                 \
    template P Vector<P>::max() const;                                                                                 \
    template Vector<P> Vector<P>::range() const;                                                                       \
    template int Vector<P>::find(P const&) const;                                                                      \
    template int Vector<P>::minPos() const;                                                                            \
    template int Vector<P>::maxPos() const;                                                                            \
    template P Vector<P>::percentile(float) const;                                                                     \
    template void Vector<P>::sort();                                                                                   \
    template void Vector<P>::reverse();                                                                                \
    template bool Vector<P>::isIncreasing() const;                                                                     \
    template bool Vector<P>::isDecreasing() const;                                                                     \
    template bool Vector<P>::isSymmetrical() const;                                                                    \
    template bool Vector<P>::operator==(const Vector<P>&) const;                                                       \
    template bool Vector<P>::operator!=(const Vector<P>&) const;                                                       \
    template void Vector<P>::__resize(int)

VORLEN_VECTOR_OF_POINTERS(Model*);
VORLEN_VECTOR_OF_POINTERS(Vertices<int>*);
#undef VORLEN_VECTOR_OF_POINTERS

template Vector<int> Vector<int>::toType<int>() const;
template Vector<float> Vector<int>::toType<float>() const;
template Vector<double> Vector<int>::toType<double>() const;
template Vector<long double> Vector<int>::toType<long double>() const;
template Vector<int> Vector<float>::toType<int>() const;
template Vector<float> Vector<float>::toType<float>() const;
template Vector<double> Vector<float>::toType<double>() const;
template Vector<long double> Vector<float>::toType<long double>() const;
template Vector<int> Vector<double>::toType<int>() const;
template Vector<float> Vector<double>::toType<float>() const;
template Vector<double> Vector<double>::toType<double>() const;
template Vector<long double> Vector<double>::toType<long double>() const;
template Vector<int> Vector<long double>::toType<int>() const;
template Vector<float> Vector<long double>::toType<float>() const;
template Vector<double> Vector<long double>::toType<double>() const;
template Vector<long double> Vector<long double>::toType<long double>() const;

} // namespace vorlen
