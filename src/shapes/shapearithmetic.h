#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

namespace vorlen {

/// Type in which sums and products of coordinates of type T are formed: double, which holds products of the usual int
/// and all float coordinates exactly, and long double for itself.
template <class T>
using WideCoordinate = std::conditional_t<std::is_same_v<T, long double>, long double, double>;

/// A wide value as a coordinate: cut towards zero for int, where it is also held within the type's range.
template <class T>
inline T toCoordinate(WideCoordinate<T> value) {
    if constexpr (std::is_integral_v<T>) {
        if (!(value == value))
            return 0;
        return T(std::clamp<WideCoordinate<T>>(value, WideCoordinate<T>(std::numeric_limits<T>::min()),
                                               WideCoordinate<T>(std::numeric_limits<T>::max())));
    } else {
        return T(value);
    }
}

/// The same, rounded to the nearest integer for int, halves up.
template <class T>
inline T roundToCoordinate(WideCoordinate<T> value) {
    if constexpr (std::is_integral_v<T>)
        return toCoordinate<T>(std::floor(value + 0.5));
    else
        return T(value);
}

} // namespace vorlen
