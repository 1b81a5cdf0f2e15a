#pragma once

namespace vorlen {

/// Four values a + b i + c j + d k. Nothing is normalised.
template <class T>
struct Quaternion {
    T a = T(1);
    T b = T(0);
    T c = T(0);
    T d = T(0);
};

} // namespace vorlen
