#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

namespace vorlen {

/// What the operations of Vector do with single elements, with runs of them, and with types of any width.
namespace elements {

template <class T>
constexpr bool isReal = std::is_floating_point_v<T>;

// Type in which roots and divisions are done.
template <class T>
using Real = std::conditional_t<isReal<T>, T, double>;

// Arithmetic in T. The operands of small types are widened so that neither the sign bit of int is overrun by a product
// of unsigned shorts, nor a bool made of an expression without saying so.
template <class T>
auto wide(T x) {
    if constexpr (std::is_same_v<T, unsigned short>)
        return static_cast<unsigned int>(x);
    else
        return +x;
}

template <class T>
inline T sumOf(T a, T b) {
    const auto result = wide(a) + wide(b);
    return static_cast<T>(result);
}

template <class T>
inline T differenceOf(T a, T b) {
    const auto result = wide(a) - wide(b);
    return static_cast<T>(result);
}

template <class T>
inline T productOf(T a, T b) {
    const auto result = wide(a) * wide(b);
    return static_cast<T>(result);
}

// The least integer divided by -1 is the greatest one: the true quotient is greater by 1, and dividing so ends the
// program.
template <class T>
inline T quotientOf(T a, T b) {
    if constexpr (std::is_integral_v<T> && std::is_signed_v<T>)
        if (b == T(-1) && a == std::numeric_limits<T>::lowest())
            return std::numeric_limits<T>::max();
    const auto result = wide(a) / wide(b);
    return static_cast<T>(result);
}

template <class T>
inline T negative(T x) {
    const auto result = -wide(x);
    return static_cast<T>(result);
}

template <class T>
inline auto absolute(T x) {
    if constexpr (isReal<T>)
        return std::fabs(x);
    else
        return x < T(0) ? -static_cast<long long>(x) : static_cast<long long>(x);
}

// The value in another type: what lies beyond an integer type becomes its end, fractions are cut off, NaN becomes 0.
template <class U, class T>
U converted(T x) {
    if constexpr (isReal<U>) {
        return static_cast<U>(x);
    } else if constexpr (isReal<T>) {
        constexpr U least = std::numeric_limits<U>::lowest(), greatest = std::numeric_limits<U>::max();
        // One above the greatest is a power of two, which every T holds.
        constexpr U half = greatest / 2 + 1;
        constexpr T beyond = static_cast<T>(half) * 2;
        if (!(x > static_cast<T>(least)))
            return x == x ? least : U(0);
        return x < beyond ? static_cast<U>(x) : greatest;
    } else {
        constexpr long long least = std::numeric_limits<U>::lowest(), greatest = std::numeric_limits<U>::max();
        return static_cast<U>(std::clamp(static_cast<long long>(x), least, greatest));
    }
}

template <class T>
bool isNumber(T x) {
    return x == x;
}

// Place of the first of n elements that is no NaN; 0 when all are.
template <class T>
int firstNumber(const T* data, int n) {
    int i = 0;
    while (i + 1 < n && !isNumber(data[i]))
        ++i;
    return isNumber(data[i]) ? i : 0;
}

// Puts the NaNs of the n elements behind the others and returns how many others there are: an order that holds for
// all values must not meet a NaN.
template <class T>
int putNaNsLast(T* data, int n) {
    if constexpr (isReal<T>)
        return static_cast<int>(std::stable_partition(data, data + n, isNumber<T>) - data);
    else
        return n;
}

template <class T>
T halfSum(T a, T b) {
    if constexpr (isReal<T>)
        return T(0.5) * (a + b);
    else {
        const long long half = (static_cast<long long>(a) + static_cast<long long>(b)) / 2;
        return static_cast<T>(half);
    }
}

// Median of the n elements at data, n above 0, in linear time. Reorders them.
template <class T>
T medianInPlace(T* data, int n) {
    const int numbers = putNaNsLast(data, n);
    const auto element = [=](int k) {
        if (k < numbers)
            std::nth_element(data, data + k, data + numbers);
        return data[k];
    };
    const int k = n / 2;
    const T upper = element(k);
    if (n % 2 == 1)
        return upper;
    const T lower = k < numbers ? *std::max_element(data, data + k) : element(k - 1);
    return halfSum(lower, upper);
}

// Sums of products are accumulated in eight independent lanes when there are enough terms; that breaks the chain of
// additions and lets the compiler use vector registers. Short sums, those of points, keep the order of the elements.
template <class T, class Term>
T accumulate(int n, Term term) {
    T total = T(0);
    int i = 0;
    if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) {
        constexpr int lanes = 8;
        if (n >= 2 * lanes) {
            T partial[lanes] = {};
            for (; i + lanes <= n; i += lanes)
                for (int lane = 0; lane < lanes; ++lane)
                    partial[lane] += term(i + lane);
            for (int lane = 0; lane < lanes; ++lane)
                total += partial[lane];
        }
    }
    for (; i < n; ++i)
        total = sumOf(total, term(i));
    return total;
}

} // namespace elements

} // namespace vorlen
