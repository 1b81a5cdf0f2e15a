#include "normalization/radialkernels.h"

#include <cmath>

// The versions for wide vectors are chosen when the program is loaded, which the sanitizers do not survive. The roots
// become vector instructions because this file is compiled without the error number of the mathematical functions.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
#define VORLEN_WIDE __attribute__((target_clones("arch=x86-64-v3", "default")))
#else
#define VORLEN_WIDE
#endif
#define VORLEN_INLINE inline __attribute__((always_inline))

namespace {

template <class T>
VORLEN_INLINE void squareDistancesBody(const T* const* axes, int space, const T* v, int first, int count,
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
    for (int k = 0; k < count; ++k) {
        squares[k] = T(0);
    }
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
VORLEN_INLINE void distancesBody(const T* const* axes, int space, const T* v, int first, int count,
                                 T* __restrict distances) {
    squareDistancesBody(axes, space, v, first, count, distances);
    for (int k = 0; k < count; ++k) {
        distances[k] = std::sqrt(distances[k]);
    }
}

} // namespace

namespace radialkernels {

VORLEN_WIDE void squareDistances(const double* const* axes, int space, const double* v, int first, int count,
                                 double* squares) {
    squareDistancesBody(axes, space, v, first, count, squares);
}

void squareDistances(const long double* const* axes, int space, const long double* v, int first, int count,
                     long double* squares) {
    squareDistancesBody(axes, space, v, first, count, squares);
}

VORLEN_WIDE void distances(const double* const* axes, int space, const double* v, int first, int count,
                           double* distances) {
    distancesBody(axes, space, v, first, count, distances);
}

void distances(const long double* const* axes, int space, const long double* v, int first, int count,
               long double* distances) {
    distancesBody(axes, space, v, first, count, distances);
}

} // namespace radialkernels
