// The statistics of Vector, by element type.
#include "numerics/vector.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

#include "numerics/elementarithmetic.h"
#include "numerics/exception.h"
#include "numerics/histogrambins.h"
#include "numerics/numbers.h"
#include "numerics/vectorchecks.h"

namespace vorlen {

using namespace elements;
using namespace vectorchecks;

namespace {

/// The sum of many floats in a float stops to grow when it is 2^24 times as large as what is added.
double wideSum(const float* values, int size) {
    double sum = 0;
    for (int i = 0; i < size; ++i)
        sum += double(values[i]);
    return sum;
}

} // namespace

template <class T>
T Vector<T>::sum() const requires VectorNumber<T> {
    checkNotEmpty(__size, "T Vector<T>::sum() const");
    if constexpr (std::is_same_v<T, float>) {
        return static_cast<float>(wideSum(__data, __size));
    } else {
        T result = T(0);
        for (int i = 0; i < __size; ++i)
            result = sumOf(result, __data[i]);
        return result;
    }
}

template <class T>
T Vector<T>::prod() const requires VectorNumber<T> {
    checkNotEmpty(__size, "T Vector<T>::prod() const");
    T result = T(1);
    for (int i = 0; i < __size; ++i)
        result = productOf(result, __data[i]);
    return result;
}

template <class T>
T Vector<T>::mean() const requires VectorNumber<T> {
    if constexpr (isPlainInteger<T>)
        refuse<T>("mean()");
    else {
        checkNotEmpty(__size, "T Vector<T>::mean() const");
        if constexpr (std::is_same_v<T, float>)
            return static_cast<float>(wideSum(__data, __size) / __size);
        const auto result = static_cast<Real<T>>(sum()) / static_cast<Real<T>>(__size);
        return static_cast<T>(result);
    }
}

template <class T>
T Vector<T>::median() const requires VectorNumber<T> {
    checkNotEmpty(__size, "T Vector<T>::median() const");
    Vector scratch(*this);
    return medianInPlace(scratch.__data, __size);
}

template <class T>
T Vector<T>::sse() const requires VectorNumber<T> {
    if constexpr (isRefusedInteger<T>)
        refuse<T>("sse() const");
    else {
        checkNotEmpty(__size, "T Vector<T>::sse() const");
        const T centre = mean();
        if constexpr (std::is_same_v<T, float>) {
            double sum = 0;
            for (int i = 0; i < __size; ++i)
                sum += (double(__data[i]) - double(centre)) * (double(__data[i]) - double(centre));
            return static_cast<float>(sum);
        }
        return accumulate<T>(__size, [data = __data, centre](int i) {
            const T deviation = differenceOf(data[i], centre);
            return productOf(deviation, deviation);
        });
    }
}

template <class T>
T Vector<T>::var() const requires VectorNumber<T> {
    if constexpr (isRefusedInteger<T>)
        refuse<T>("var() const");
    else {
        checkNotEmpty(__size, "T Vector<T>::var() const");
        const auto result = static_cast<Real<T>>(sse()) / static_cast<Real<T>>(__size);
        return static_cast<T>(result);
    }
}

template <class T>
T Vector<T>::std() const requires VectorNumber<T> {
    if constexpr (isRefusedInteger<T>)
        refuse<T>("std() const");
    else {
        const auto result = std::sqrt(static_cast<Real<T>>(var()));
        return static_cast<T>(result);
    }
}

template <class T>
T Vector<T>::mad() const requires VectorNumber<T> {
    if constexpr (isRefusedInteger<T> && !std::is_same_v<T, int>)
        refuse<T>("mad() const");
    else {
        const T centre = median();
        Vector deviations(static_cast<unsigned int>(__size));
        for (int i = 0; i < __size; ++i)
            deviations.__data[i] =
                __data[i] < centre ? differenceOf(centre, __data[i]) : differenceOf(__data[i], centre);
        return medianInPlace(deviations.__data, __size);
    }
}

template <class T>
T Vector<T>::sem(bool sample) const requires VectorNumber<T> {
    if constexpr (isRefusedInteger<T>)
        refuse<T>("sem(const bool) const");
    else {
        const char* const where = "T Vector<T>::sem(const bool) const";
        checkNotEmpty(__size, where);
        if (sample && __size == 1)
            throw SizeError(where, "This vector contains a single value.");
        const Real<T> n = static_cast<Real<T>>(__size);
        const Real<T> root = std::sqrt(static_cast<Real<T>>(sse()));
        const auto result = sample ? root / (std::sqrt(n) * std::sqrt(n - 1)) : root / n;
        return static_cast<T>(result);
    }
}

template <class T>
Numbers<T> Vector<T>::numbers() const requires VectorNumber<T> {
    Numbers<T> result;
    result.setCount(static_cast<unsigned int>(__size));
    result.setMinimum(min());
    result.setMaximum(max());
    result.setMedian(median());
    result.setSum(sum());
    result.setMean(mean());
    return result;
}

template <class T>
Vector<T> Vector<T>::csum() const requires VectorNumber<T> {
    Vector result(static_cast<unsigned int>(__size));
    T total = T(0);
    for (int i = 0; i < __size; ++i)
        result.__data[i] = total = sumOf(total, __data[i]);
    return result;
}

template <class T>
Vector<T> Vector<T>::cprod() const requires VectorNumber<T> {
    Vector result(static_cast<unsigned int>(__size));
    T total = T(1);
    for (int i = 0; i < __size; ++i)
        result.__data[i] = total = productOf(total, __data[i]);
    return result;
}

template <class T>
Vector<T> Vector<T>::diff(int k) const requires VectorNumber<T> {
    const char* const where = "Vector<T> Vector<T>::diff(const int) const";
    if (k < 0)
        throw UsageError(where, "The distance of a difference cannot be negative");
    if (__size <= k)
        throw SizeError(where, "This vector does not contain enough elements");
    Vector result(static_cast<unsigned int>(__size));
    const int n = __size - k;
    for (int i = 0; i < n; ++i)
        result.__data[i] = differenceOf(__data[i + k], __data[i]);
    std::fill(result.__data + n, result.__data + __size, T(0));
    return result;
}

template <class T>
Vector<unsigned int> Vector<T>::histogram(T first, T width, int bins) const requires VectorNumber<T> {
    Vector<unsigned int> counts;
    counts.setZeros(bins);
    if (bins > 0 && UnitBins<T>::fit(first, width, bins))
        UnitBins<T>(first, bins).count(__data, __size, counts);
    else if (bins > 0) {
        const BinEdges<T> edges(first, width, bins);
        for (int i = 0; i < __size; ++i)
            ++counts[edges.find(__data[i])];
    }
    return counts;
}

template <class T>
Vector<unsigned int> Vector<T>::histogram(T first, T width, int bins,
                                          const Vector& mask) const requires VectorNumber<T> {
    checkSameSize(__size, mask.__size, "Vectorui Vector<T>::histogram(...)", "Incompatible mask size");
    Vector<unsigned int> counts;
    counts.setZeros(bins);
    if (counts.getSize() > 0) {
        const BinEdges<T> edges(first, width, bins);
        for (int i = 0; i < __size; ++i)
            if (mask.__data[i] != T(0))
                ++counts[edges.find(__data[i])];
    }
    return counts;
}

#define VORLEN_VECTOR_STATISTICS(T)                                                                                    \
    template T Vector<T>::sum() const;                                                                                 \
    template T Vector<T>::prod() const;                                                                                \
    template T Vector<T>::mean() const;                                                                                \
    template T Vector<T>::median() const;                                                                              \
    template T Vector<T>::sse() const;                                                                                 \
    template T Vector<T>::var() const;                                                                                 \
    template T Vector<T>::std() const;                                                                                 \
    template T Vector<T>::mad() const;                                                                                 \
    template T Vector<T>::sem(bool) const;                                                                             \
    template Numbers<T> Vector<T>::numbers() const;                                                                    \
    template Vector<T> Vector<T>::csum() const;                                                                        \
    template Vector<T> Vector<T>::cprod() const;                                                                       \
    template Vector<T> Vector<T>::diff(int) const;                                                                     \
    template Vector<unsigned int> Vector<T>::histogram(T, T, int) const;                                               \
    template Vector<unsigned int> Vector<T>::histogram(T, T, int, const Vector<T>&) const

VORLEN_VECTOR_STATISTICS(bool);
VORLEN_VECTOR_STATISTICS(char);
VORLEN_VECTOR_STATISTICS(unsigned char);
VORLEN_VECTOR_STATISTICS(short);
VORLEN_VECTOR_STATISTICS(unsigned short);
VORLEN_VECTOR_STATISTICS(int);
VORLEN_VECTOR_STATISTICS(unsigned int);
VORLEN_VECTOR_STATISTICS(float);
VORLEN_VECTOR_STATISTICS(double);
VORLEN_VECTOR_STATISTICS(long double);
#undef VORLEN_VECTOR_STATISTICS

} // namespace vorlen
