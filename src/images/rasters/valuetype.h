#pragma once

#include <string>

namespace vorlen {

/// Type of the values of an image as its file holds them: a kind of number and its bits.
struct ValueType {
    enum Kind { Unsigned, Signed, Real };

    /// "uint16", "int8", "float32".
    std::string name() const;
    /// The value that stands for white in a colour image: the greatest of an unsigned or signed type, 1 of a real one.
    double white() const;

    bool operator==(const ValueType& other) const = default;

    Kind kind = Unsigned;
    int bits = 8;
};

} // namespace vorlen
