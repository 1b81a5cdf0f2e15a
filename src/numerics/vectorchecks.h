#pragma once

#include <string>
#include <type_traits>

#include "numerics/elementtype.h"
#include "numerics/exception.h"

namespace vorlen {

/// What the operations of Vector refuse: elements that they do not have, vectors that are empty, sizes that differ.
namespace vectorchecks {

// Integers but bool, and those of them whose statistics are refused one by one (those of char fail in mean()).
template <class T>
constexpr bool isPlainInteger = std::is_integral_v<T> && !std::is_same_v<T, bool>;
template <class T>
constexpr bool isRefusedInteger = isPlainInteger<T> && !std::is_same_v<T, char>;

// Refuses an operation for integer elements. The result type is that of the elements unless given.
template <class T>
[[noreturn]] void refuse(const std::string& operation, const std::string& result = elementTypeName<T>()) {
    const std::string type = elementTypeName<T>();
    throw TypeError(result + " Vector<" + type + ">::" + operation, "Method not available for type '" + type + "'");
}

inline void checkNotEmpty(int size, const char* where) {
    if (size == 0)
        throw SizeError(where, "This vector is empty.");
}

inline void checkSameSize(int size1, int size2, const char* where, const char* what) {
    if (size1 != size2)
        throw SizeError(where, what);
}

} // namespace vectorchecks

} // namespace vorlen
