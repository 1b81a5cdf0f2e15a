#pragma once

#include "numerics/exception.h"

#include <string>
#include <type_traits>

namespace vorlen {

/// Name of an element type of the numeric containers, as it stands in error messages.
template <class T>
constexpr const char* elementTypeName() {
    if constexpr (std::is_same_v<T, bool>)
        return "bool";
    else if constexpr (std::is_same_v<T, char>)
        return "char";
    else if constexpr (std::is_same_v<T, unsigned char>)
        return "unsigned char";
    else if constexpr (std::is_same_v<T, short>)
        return "short";
    else if constexpr (std::is_same_v<T, unsigned short>)
        return "unsigned short";
    else if constexpr (std::is_same_v<T, int>)
        return "int";
    else if constexpr (std::is_same_v<T, unsigned int>)
        return "unsigned int";
    else if constexpr (std::is_same_v<T, float>)
        return "float";
    else if constexpr (std::is_same_v<T, double>)
        return "double";
    else
        return "long double";
}

/// Throws the TypeError of an operation that element type T does not have. Each '#' in the signature stands for the
/// name of T.
template <class T>
[[noreturn]] inline void raiseNotAvailable(std::string signature) {
    const std::string name = elementTypeName<T>();
    for (std::size_t at = signature.find('#'); at != std::string::npos; at = signature.find('#', at + name.size()))
        signature.replace(at, 1, name);
    std::string what = "Method not available for type '";
    what.append(name).append("'");
    throw TypeError(signature, what);
}

} // namespace vorlen
