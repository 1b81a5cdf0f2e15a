#pragma once

#include <algorithm>
#include <initializer_list>
#include <ostream>

#include "numerics/vector.h"

namespace vorlen {

/// Vector of the values in the braces.
template <class T>
Vector<T> vectorOf(std::initializer_list<T> values) {
    Vector<T> v(static_cast<unsigned int>(values.size()));
    std::copy(values.begin(), values.end(), v.data());
    return v;
}

/// Lets a failed comparison of vectors show their elements.
template <class T>
void PrintTo(const Vector<T>& v, std::ostream* stream) {
    *stream << '(';
    for (int i = 0; i < v.getSize(); ++i)
        *stream << (i == 0 ? "" : ", ") << +v[i];
    *stream << ')';
}

} // namespace vorlen
