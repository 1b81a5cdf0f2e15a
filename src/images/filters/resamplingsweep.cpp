#include "images/filters/resamplingsweep.h"

#include <algorithm>
#include <cstddef>

namespace vorlen {

template <class T>
ResamplingSweep<T>::ResamplingSweep(int oldSize, int newSize, int numerator, int denominator, bool interpolated)
    : __identity(oldSize == newSize), __grows(newSize > oldSize), __first(static_cast<std::size_t>(newSize)),
      __second(static_cast<std::size_t>(newSize)), __weight(static_cast<std::size_t>(newSize)) {
    const long long divisor = std::max(denominator, 1);
    for (int j = 0; j < newSize; ++j) {
        const long long product = static_cast<long long>(j) * numerator;
        const auto position = static_cast<std::size_t>(j);
        __first[position] = static_cast<int>(std::min<long long>(product / divisor, oldSize - 1));
        __second[position] = std::min(__first[position] + 1, oldSize - 1);
        __weight[position] = interpolated ? static_cast<T>(product % divisor) / static_cast<T>(divisor) : T(0);
    }
}

template <class T>
ResamplingSweep<T> ResamplingSweep<T>::nearest(int oldSize, int newSize, int numerator, int denominator) {
    return ResamplingSweep(oldSize, newSize, numerator, denominator, false);
}

template <class T>
ResamplingSweep<T> ResamplingSweep<T>::linear(int oldSize, int newSize, int numerator, int denominator, bool keepLast) {
    ResamplingSweep sweep(oldSize, newSize, numerator, denominator, true);
    if (keepLast && newSize > 0) {
        sweep.__first.back() = sweep.__second.back() = oldSize - 1;
        sweep.__weight.back() = T(0);
    }
    return sweep;
}

template <class T>
void ResamplingSweep<T>::apply(T* line) const {
    if (__identity)
        return;
    const int size = static_cast<int>(__first.size());
    const int* const first = __first.data();
    const int* const second = __second.data();
    const T* const weight = __weight.data();
    const auto rewrite = [=](int j) {
        const T value = line[first[j]];
        line[j] = weight[j] == T(0) ? value : (T(1) - weight[j]) * value + weight[j] * line[second[j]];
    };
    if (__grows)
        for (int j = size - 1; j >= 0; --j)
            rewrite(j);
    else
        for (int j = 0; j < size; ++j)
            rewrite(j);
}

template <class T>
void ResamplingSweep<T>::combine(T* target, const T* first, const T* second, T weight, int count) {
    // Without a weight the second element is not read at all: it may hold no value yet, or no number.
    if (weight == T(0)) {
        if (target != first)
            std::copy_n(first, count, target);
        return;
    }
    const T rest = T(1) - weight;
    for (int c = 0; c < count; ++c)
        target[c] = rest * first[c] + weight * second[c];
}

template class ResamplingSweep<float>;
template class ResamplingSweep<double>;
template class ResamplingSweep<long double>;

} // namespace vorlen
