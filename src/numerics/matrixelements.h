#pragma once

#include <type_traits>

#include "numerics/rowkernels.h"

namespace vorlen {

/// What the operations of Matrix do with runs of elements, and which elements have them.
namespace matrixelements {

template <class T>
constexpr bool hasStatistics =
    std::is_floating_point_v<T> || std::is_same_v<T, char> || std::is_same_v<T, unsigned char>;

// y += factor x.
template <class T>
void addMultiple(T* y, T factor, const T* x, int n) {
    if constexpr (std::is_floating_point_v<T>)
        rowkernels::addMultiple(y, factor, x, n);
    else
        for (int i = 0; i < n; ++i)
            y[i] = T(y[i] + factor * x[i]);
}

} // namespace matrixelements

} // namespace vorlen
