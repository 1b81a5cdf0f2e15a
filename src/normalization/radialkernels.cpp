#include "normalization/radialkernels.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "numerics/widevectors.h"

namespace vorlen {

// The roots become vector instructions because this file is compiled without the error number of the mathematical
// functions.

namespace {

template <class T>
VORLEN_INLINED void squareDistancesBody(const T* const* axes, int space, const T* v, int first, int count,
                                        T* __restrict squares) {
    if (space == 3) {
        const T* const x = axes[0] + first;
        const T* const y = axes[1] + first;
        const T* const z = axes[2] + first;
        const T vx = v[0], vy = v[1], vz = v[2];
        for (int k = 0; k < count; ++k) {
            const T dx = x[k] - vx, dy = y[k] - vy, dz = z[k] - vz;
            squares[k] = dx * dx + dy * dy + dz * dz;
        }
        return;
    }
    for (int k = 0; k < count; ++k)
        squares[k] = T(0);
    for (int a = 0; a < space; ++a) {
        const T* const coordinates = axes[a] + first;
        const T origin = v[a];
        for (int k = 0; k < count; ++k) {
            const T difference = coordinates[k] - origin;
            squares[k] += difference * difference;
        }
    }
}

template <class T>
VORLEN_INLINED void distancesBody(const T* const* axes, int space, const T* v, int first, int count,
                                  T* __restrict distances) {
    squareDistancesBody(axes, space, v, first, count, distances);
    for (int k = 0; k < count; ++k)
        distances[k] = std::sqrt(distances[k]);
}

/// Natural logarithm of a positive normal number, without a branch, so that a loop of it becomes vector instructions.
///
/// With x = 2^e m and m from the root of 1/2 to that of 2, and s = f / (2 + f) for f = m - 1, ln m = 2 artanh s = f - f
/// (f/2) + s (f (f/2) + R(s^2)). The polynomial R and the two parts of ln 2 are those of the logarithm of fdlibm, K. C.
/// Ng, Sun Microsystems, 1993.
VORLEN_INLINED double logarithm(double x) {
    constexpr std::uint64_t one = 0x3ff0000000000000, rootOfHalf = 0x3fe6a09e00000000, fraction = 0x000fffffffffffff;
    const std::uint64_t bits = std::bit_cast<std::uint64_t>(x) + (one - rootOfHalf);
    // The exponent becomes a number as the last digits of 2^52.
    const double e = std::bit_cast<double>((bits >> 52) | 0x4330000000000000) - (4503599627370496.0 + 1023.0);
    const double f = std::bit_cast<double>((bits & fraction) + rootOfHalf) - 1.0;
    const double s = f / (2.0 + f);
    const double z = s * s;
    const double half = 0.5 * f * f;
    const double r = z * (6.666666666666735130e-01 +
                          z * (3.999999999940941908e-01 +
                               z * (2.857142874366239149e-01 +
                                    z * (2.222219843214978396e-01 +
                                         z * (1.818357216161805012e-01 +
                                              z * (1.531383769920937332e-01 + z * 1.479819860511658591e-01))))));
    return e * 6.93147180369123816490e-01 + (f - (half - (s * (half + r) + e * 1.90821492927058770002e-10)));
}

VORLEN_INLINED long double logarithm(long double x) {
    return std::log(x);
}

template <class T>
VORLEN_INLINED void thinPlatesBody(T* values, int count, T epsilon) {
    // 1 stands for what is too small: 1 ln 1 is 0. In a loop of its own, or the compiler makes it a branch.
    for (int k = 0; k < count; ++k)
        values[k] = values[k] > epsilon ? values[k] : T(1);
    for (int k = 0; k < count; ++k)
        values[k] *= logarithm(values[k]);
}

} // namespace

namespace radialkernels {

VORLEN_FUSED void squareDistances(const double* const* axes, int space, const double* v, int first, int count,
                                  double* squares) {
    squareDistancesBody(axes, space, v, first, count, squares);
}

void squareDistances(const long double* const* axes, int space, const long double* v, int first, int count,
                     long double* squares) {
    squareDistancesBody(axes, space, v, first, count, squares);
}

VORLEN_FUSED void distances(const double* const* axes, int space, const double* v, int first, int count,
                            double* distances) {
    distancesBody(axes, space, v, first, count, distances);
}

void distances(const long double* const* axes, int space, const long double* v, int first, int count,
               long double* distances) {
    distancesBody(axes, space, v, first, count, distances);
}

VORLEN_FUSED void thinPlates(double* values, int count, double epsilon) {
    thinPlatesBody(values, count, epsilon);
}

void thinPlates(long double* values, int count, long double epsilon) {
    thinPlatesBody(values, count, epsilon);
}

} // namespace radialkernels

} // namespace vorlen
