#include "images/rasters/valuetype.h"

#include <cmath>

namespace vorlen {

std::string ValueType::name() const {
    return (kind == Unsigned ? "uint" : kind == Signed ? "int" : "float") + std::to_string(bits);
}

double ValueType::white() const {
    if (kind == Real)
        return 1;
    return std::ldexp(1.0, kind == Signed ? bits - 1 : bits) - 1;
}

} // namespace vorlen
