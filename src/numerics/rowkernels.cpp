#include "numerics/rowkernels.h"

#include "numerics/rowblock.h"
#include "numerics/widevectors.h"

#include <cstring>

namespace vorlen {

// Loops over packs are unrolled: their arrays live in registers then, and not in memory. Clang does so by itself.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wunknown-pragmas"
#endif

namespace {

using widevectors::load;
using widevectors::store;

// A pack is what one vector instruction handles: 32 bytes, or a single long double.
template <class T>
using Pack = widevectors::Pack<T, 32>;

template <class T, class V>
VORLEN_INLINED T laneSum(const V& pack) {
    constexpr unsigned numLanes = sizeof(V) / sizeof(T); // NOLINT(bugprone-sizeof-expression): these are no pointers
    T lanes[numLanes];
    std::memcpy(lanes, &pack, sizeof lanes);
    T sum = lanes[0];
    for (unsigned l = 1; l < numLanes; ++l)
        sum += lanes[l];
    return sum;
}

template <class T>
VORLEN_INLINED T dotBody(const T* a, const T* b, int n) {
    using V = typename Pack<T>::Type;
    constexpr int lanes = Pack<T>::lanes;
    V s[4] = {};
    int i = 0;
    for (; i + 4 * lanes <= n; i += 4 * lanes)
#pragma GCC unroll 8
        for (int u = 0; u < 4; ++u) {
            V x, y;
            load(x, a + i + u * lanes);
            load(y, b + i + u * lanes);
            s[u] += x * y;
        }
    for (; i + lanes <= n; i += lanes) {
        V x, y;
        load(x, a + i);
        load(y, b + i);
        s[0] += x * y;
    }
    const V all = (s[0] + s[1]) + (s[2] + s[3]);
    T sum = laneSum<T>(all);
    for (; i < n; ++i)
        sum += a[i] * b[i];
    return sum;
}

template <class T>
VORLEN_INLINED void addMultipleBody(T* y, T factor, const T* x, int n) {
    using V = typename Pack<T>::Type;
    constexpr int lanes = Pack<T>::lanes;
    int i = 0;
    for (; i + lanes <= n; i += lanes) {
        V p, q;
        load(p, y + i);
        load(q, x + i);
        p += factor * q;
        store(y + i, p);
    }
    for (; i < n; ++i)
        y[i] += factor * x[i];
}

// Four rows at a time: y is read and written once for them.
template <class T>
VORLEN_INLINED void addRowsBody(T* y, const T* factors, T* const* rows, int numRows, int offset, int n) {
    using V = typename Pack<T>::Type;
    constexpr int lanes = Pack<T>::lanes;
    int k = 0;
    for (; k + 4 <= numRows; k += 4) {
        const T* r[4];
        T f[4];
#pragma GCC unroll 8
        for (int u = 0; u < 4; ++u) {
            r[u] = rows[k + u] + offset;
            f[u] = factors[k + u];
        }
        int i = 0;
        for (; i + lanes <= n; i += lanes) {
            V p, a, b, c, d;
            load(p, y + i);
            load(a, r[0] + i);
            load(b, r[1] + i);
            load(c, r[2] + i);
            load(d, r[3] + i);
            p += (f[0] * a + f[1] * b) + (f[2] * c + f[3] * d);
            store(y + i, p);
        }
        for (; i < n; ++i)
            y[i] += (f[0] * r[0][i] + f[1] * r[1][i]) + (f[2] * r[2][i] + f[3] * r[3][i]);
    }
    for (; k < numRows; ++k)
        addMultipleBody(y, factors[k], static_cast<const T*>(rows[k] + offset), n);
}

template <class T>
VORLEN_INLINED void reflectRowsBody(T* const* rows, int numRows, int offset, int n, const T* factors, const T* w,
                                    const T* r, T gamma) {
    using V = typename Pack<T>::Type;
    constexpr int lanes = Pack<T>::lanes;
    for (int k = 0; k < numRows; ++k) {
        T* x = rows[k] + offset;
        const T f = -factors[k];
        if (gamma == T(0)) {
            addMultipleBody(x, f, w, n);
            continue;
        }
        V s[2] = {};
        int i = 0;
        for (; i + 2 * lanes <= n; i += 2 * lanes)
#pragma GCC unroll 8
            for (int u = 0; u < 2; ++u) {
                V p, q, t;
                load(p, x + i + u * lanes);
                load(q, w + i + u * lanes);
                load(t, r + i + u * lanes);
                p += f * q;
                s[u] += p * t;
                store(x + i + u * lanes, p);
            }
        const V both = s[0] + s[1];
        T sum = laneSum<T>(both);
        for (; i < n; ++i) {
            x[i] += f * w[i];
            sum += x[i] * r[i];
        }
        addMultipleBody(x, -gamma * sum, r, n);
    }
}

// Four rows share each reading of a reflection's vector and stay in the first cache for all reflections.
template <class T>
VORLEN_INLINED void accumulateReflectionsBody(T* const* rows, int numRows, int n, T* const* vectors, const T* beta,
                                              int numVectors, int shift) {
    using V = typename Pack<T>::Type;
    constexpr int lanes = Pack<T>::lanes;
    for (int first = 0; first < numRows; first += 4) {
        const int count = numRows - first < 4 ? numRows - first : 4;
        int j = numVectors - 1;
        if (j > first + count - 1 - shift)
            j = first + count - 1 - shift;
        for (; j >= 0; --j) {
            const int offset = shift + j;
            const int length = n - offset;
            const T* v = vectors[j] + offset;
            if (beta[j] == T(0))
                continue;
            if (count < 4) {
                for (int u = 0; u < count; ++u) {
                    T* x = rows[first + u] + offset;
                    const T sum = dotBody(static_cast<const T*>(x), v, length);
                    addMultipleBody(x, -beta[j] * sum, v, length);
                }
                continue;
            }
            T* x[4];
            V s[4] = {};
            T f[4];
#pragma GCC unroll 8
            for (int u = 0; u < 4; ++u)
                x[u] = rows[first + u] + offset;
            int i = 0;
            for (; i + lanes <= length; i += lanes) {
                V q;
                load(q, v + i);
#pragma GCC unroll 8
                for (int u = 0; u < 4; ++u) {
                    V p;
                    load(p, x[u] + i);
                    s[u] += p * q;
                }
            }
#pragma GCC unroll 8
            for (int u = 0; u < 4; ++u) {
                T sum = laneSum<T>(s[u]);
                for (int m = i; m < length; ++m)
                    sum += x[u][m] * v[m];
                f[u] = -beta[j] * sum;
            }
            i = 0;
            for (; i + lanes <= length; i += lanes) {
                V q;
                load(q, v + i);
#pragma GCC unroll 8
                for (int u = 0; u < 4; ++u) {
                    V p;
                    load(p, x[u] + i);
                    p += f[u] * q;
                    store(x[u] + i, p);
                }
            }
            for (; i < length; ++i)
#pragma GCC unroll 8
                for (int u = 0; u < 4; ++u)
                    x[u][i] += f[u] * v[i];
        }
    }
}

// A strip of all rows fits the first cache, so that memory is read and written once for all rotations.
template <class T>
VORLEN_INLINED void rotateRowsBody(T* const* rows, int numStrips, const rowkernels::Rotation<T>* rotations, int count) {
    using V = typename Pack<T>::Type;
    constexpr int lanes = Pack<T>::lanes;
    constexpr int packs = RowBlock<T>::stripWidth / lanes;
    if (count == 0)
        return;
    for (int strip = 0; strip < numStrips; ++strip) {
        const int offset = strip * RowBlock<T>::stripWidth;
        V held[packs];
        int heldRow = rotations[0].i;
#pragma GCC unroll 8
        for (int u = 0; u < packs; ++u)
            load(held[u], rows[heldRow] + offset + u * lanes);
        for (int k = 0; k < count; ++k) {
            const rowkernels::Rotation<T> rotation = rotations[k];
            if (rotation.i != heldRow) {
#pragma GCC unroll 8
                for (int u = 0; u < packs; ++u)
                    store(rows[heldRow] + offset + u * lanes, held[u]);
#pragma GCC unroll 8
                for (int u = 0; u < packs; ++u)
                    load(held[u], rows[rotation.i] + offset + u * lanes);
            }
            const T* y = rows[rotation.j] + offset;
            T* x = rows[rotation.i] + offset;
#pragma GCC unroll 8
            for (int u = 0; u < packs; ++u) {
                V q;
                load(q, y + u * lanes);
                const V p = rotation.c * held[u] - rotation.s * q;
                held[u] = rotation.s * held[u] + rotation.c * q;
                store(x + u * lanes, p);
            }
            heldRow = rotation.j;
        }
#pragma GCC unroll 8
        for (int u = 0; u < packs; ++u)
            store(rows[heldRow] + offset + u * lanes, held[u]);
    }
}

constexpr int packedWidth = 16;

// The right factor is copied into strips that are read in order; a tile of 4 rows by a strip's pair of packs is summed
// in registers over the whole depth.
template <class T>
VORLEN_INLINED void subtractProductBody(T* const* c, int cOffset, T* const* a, int aOffset, T* const* b, int bOffset,
                                        int numRows, int depth, int n, T* packed) {
    using V = typename Pack<T>::Type;
    constexpr int lanes = Pack<T>::lanes;
    constexpr int width = 2 * lanes;
    static_assert(width <= packedWidth);
    const int full = n / width;
    for (int strip = 0; strip < full; ++strip)
        for (int k = 0; k < depth; ++k)
            std::memcpy(packed + (std::size_t(strip) * depth + k) * width, b[k] + bOffset + strip * width,
                        width * sizeof(T));
    int i = 0;
    for (; i + 4 <= numRows; i += 4) {
        const T* r[4];
#pragma GCC unroll 8
        for (int u = 0; u < 4; ++u)
            r[u] = a[i + u] + aOffset;
        for (int strip = 0; strip < full; ++strip) {
            const T* q = packed + std::size_t(strip) * depth * width;
            V s[4][2] = {};
            for (int k = 0; k < depth; ++k, q += width) {
                V q0, q1;
                load(q0, q);
                load(q1, q + lanes);
#pragma GCC unroll 8
                for (int u = 0; u < 4; ++u) {
                    const T f = r[u][k];
                    s[u][0] += f * q0;
                    s[u][1] += f * q1;
                }
            }
#pragma GCC unroll 8
            for (int u = 0; u < 4; ++u)
#pragma GCC unroll 8
                for (int h = 0; h < 2; ++h) {
                    T* to = c[i + u] + cOffset + strip * width + h * lanes;
                    V p;
                    load(p, to);
                    p -= s[u][h];
                    store(to, p);
                }
        }
    }
    for (; i < numRows; ++i)
        for (int k = 0; k < depth; ++k)
            addMultipleBody(c[i] + cOffset, -a[i][aOffset + k], static_cast<const T*>(b[k] + bOffset), full * width);
    for (i = 0; i < numRows; ++i)
        for (int m = full * width; m < n; ++m) {
            T sum = T(0);
            for (int k = 0; k < depth; ++k)
                sum += a[i][aOffset + k] * b[k][bOffset + m];
            c[i][cOffset + m] -= sum;
        }
}

} // namespace

namespace rowkernels {

int packedSize(int depth, int n) {
    return depth * (n + packedWidth);
}

VORLEN_FUSED float dot(const float* a, const float* b, int n) {
    return dotBody(a, b, n);
}

VORLEN_FUSED void addMultiple(float* y, float factor, const float* x, int n) {
    addMultipleBody(y, factor, x, n);
}

VORLEN_FUSED void addRows(float* y, const float* factors, float* const* rows, int numRows, int offset, int n) {
    addRowsBody(y, factors, rows, numRows, offset, n);
}

VORLEN_FUSED void reflectRows(float* const* rows, int numRows, int offset, int n, const float* factors, const float* w,
                              const float* r, float gamma) {
    reflectRowsBody(rows, numRows, offset, n, factors, w, r, gamma);
}

VORLEN_FUSED void accumulateReflections(float* const* rows, int numRows, int n, float* const* vectors,
                                        const float* beta, int numVectors, int shift) {
    accumulateReflectionsBody(rows, numRows, n, vectors, beta, numVectors, shift);
}

VORLEN_FUSED void rotateRows(float* const* rows, int numStrips, const Rotation<float>* rotations, int count) {
    rotateRowsBody(rows, numStrips, rotations, count);
}

VORLEN_FUSED void subtractProduct(float* const* c, int cOffset, float* const* a, int aOffset, float* const* b,
                                  int bOffset, int numRows, int depth, int n, float* packed) {
    subtractProductBody(c, cOffset, a, aOffset, b, bOffset, numRows, depth, n, packed);
}

VORLEN_FUSED double dot(const double* a, const double* b, int n) {
    return dotBody(a, b, n);
}

VORLEN_FUSED void addMultiple(double* y, double factor, const double* x, int n) {
    addMultipleBody(y, factor, x, n);
}

VORLEN_FUSED void addRows(double* y, const double* factors, double* const* rows, int numRows, int offset, int n) {
    addRowsBody(y, factors, rows, numRows, offset, n);
}

VORLEN_FUSED void reflectRows(double* const* rows, int numRows, int offset, int n, const double* factors,
                              const double* w, const double* r, double gamma) {
    reflectRowsBody(rows, numRows, offset, n, factors, w, r, gamma);
}

VORLEN_FUSED void accumulateReflections(double* const* rows, int numRows, int n, double* const* vectors,
                                        const double* beta, int numVectors, int shift) {
    accumulateReflectionsBody(rows, numRows, n, vectors, beta, numVectors, shift);
}

VORLEN_FUSED void rotateRows(double* const* rows, int numStrips, const Rotation<double>* rotations, int count) {
    rotateRowsBody(rows, numStrips, rotations, count);
}

VORLEN_FUSED void subtractProduct(double* const* c, int cOffset, double* const* a, int aOffset, double* const* b,
                                  int bOffset, int numRows, int depth, int n, double* packed) {
    subtractProductBody(c, cOffset, a, aOffset, b, bOffset, numRows, depth, n, packed);
}

long double dot(const long double* a, const long double* b, int n) {
    return dotBody(a, b, n);
}

void addMultiple(long double* y, long double factor, const long double* x, int n) {
    addMultipleBody(y, factor, x, n);
}

void addRows(long double* y, const long double* factors, long double* const* rows, int numRows, int offset, int n) {
    addRowsBody(y, factors, rows, numRows, offset, n);
}

void reflectRows(long double* const* rows, int numRows, int offset, int n, const long double* factors,
                 const long double* w, const long double* r, long double gamma) {
    reflectRowsBody(rows, numRows, offset, n, factors, w, r, gamma);
}

void accumulateReflections(long double* const* rows, int numRows, int n, long double* const* vectors,
                           const long double* beta, int numVectors, int shift) {
    accumulateReflectionsBody(rows, numRows, n, vectors, beta, numVectors, shift);
}

void rotateRows(long double* const* rows, int numStrips, const Rotation<long double>* rotations, int count) {
    rotateRowsBody(rows, numStrips, rotations, count);
}

void subtractProduct(long double* const* c, int cOffset, long double* const* a, int aOffset, long double* const* b,
                     int bOffset, int numRows, int depth, int n, long double* packed) {
    subtractProductBody(c, cOffset, a, aOffset, b, bOffset, numRows, depth, n, packed);
}

} // namespace rowkernels

} // namespace vorlen
