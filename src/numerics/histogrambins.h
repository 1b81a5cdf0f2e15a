#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

#include "numerics/elementarithmetic.h"
#include "numerics/vector.h"

namespace vorlen {

/// The bins of Vector<T>::histogram().
namespace elements {

/// Lower edges of the bins of a histogram and the search for the bin of a value: the last bin whose edge is not above
/// it. Edges of integers are computed where they cannot wrap.
template <class T>
class BinEdges {
public:
    using Edge = std::conditional_t<isReal<T>, T, long long>;

    BinEdges(T first, T width, int bins)
        : __bins(bins), __first(static_cast<Edge>(first)),
          __scale(width > T(0) ? Real<T>(1) / static_cast<Real<T>>(width) : Real<T>(0)) {
        __edges = std::make_unique<Edge[]>(static_cast<std::size_t>(bins));
        for (int k = 0; k < bins; ++k)
            __edges[k] = __first + static_cast<Edge>(k) * static_cast<Edge>(width);
        __guess = width > T(0) && std::isfinite(__scale);
    }

    int find(T value) const {
        const Edge x = static_cast<Edge>(value);
        if (__guess && isNumber(x)) {
            // The quotient is right but for rounding, which one step mends; the search below settles the rest.
            const Real<T> position = static_cast<Real<T>>(x - __first) * __scale;
            int k = !(position > 0) ? 0 : position >= static_cast<Real<T>>(__bins) ? __bins - 1 : int(position);
            k = std::min(k, __bins - 1);
            if (k > 0 && __edges[k] > x)
                --k;
            else if (k + 1 < __bins && !(__edges[k + 1] > x))
                ++k;
            if ((k == 0 || !(__edges[k] > x)) && (k + 1 == __bins || __edges[k + 1] > x))
                return k;
        }
        int lo = 0;
        int hi = __bins;
        while (lo + 1 < hi) {
            const int mid = lo + (hi - lo) / 2;
            if (__edges[mid] > x)
                hi = mid;
            else
                lo = mid;
        }
        return lo;
    }

private:
    int __bins;
    Edge __first;
    Real<T> __scale;
    bool __guess;
    std::unique_ptr<Edge[]> __edges;
};

/// Bins of width 1, those of grey values: the bin of a value follows from its distance to the first edge alone. Reals
/// have them where all edges are exact, integers where the last edge is no wider than the values.
template <class T>
class UnitBins {
public:
    using Edge = std::conditional_t<isReal<T>, T, std::conditional_t<(sizeof(T) < sizeof(int)), int, T>>;

    static bool fit(T first, T width, int bins) {
        if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, long double>)
            return false;
        else if constexpr (isReal<T>)
            return width == T(1) && bins <= 1 << 20 && std::abs(first) <= T(1 << 20) &&
                   std::floor(2 * first) == 2 * first;
        else
            return width == T(1) && bins - 1LL <= static_cast<long long>(std::numeric_limits<Edge>::max()) - first;
    }

    UnitBins(T first, int bins)
        : __first(first), __last(static_cast<Edge>(static_cast<Edge>(first) + static_cast<Edge>(bins - 1))) {}

    // A real distance may be rounded up to the next edge, never beyond it. NaNs belong to the last bin.
    int find(T value) const {
        const Edge x = static_cast<Edge>(value);
        const Edge inside = x < __last ? (x > __first ? x : __first) : __last;
        const int bin = static_cast<int>(inside - __first);
        if constexpr (isReal<T>)
            return bin - (__first + static_cast<Edge>(bin) > inside);
        else
            return bin;
    }

    // Bins are found for a block at a time, and counted in turn in several tables, since counting the same bin twice
    // in a row has to wait for memory.
    void count(const T* values, int n, Vector<unsigned int>& counts) const {
        constexpr int blockLength = 512, numTables = 4;
        const int bins = counts.getSize();
        int found[blockLength];
        const int stride = bins <= n / numTables ? bins : 0;
        std::vector<unsigned int> tables(static_cast<std::size_t>(stride) * (numTables - 1));
        unsigned int* const first = counts.data();
        unsigned int* const second = stride > 0 ? tables.data() : first;
        unsigned int* const third = second + stride;
        unsigned int* const fourth = third + stride;
        for (int i = 0; i < n; i += blockLength) {
            const int length = std::min(blockLength, n - i);
            for (int j = 0; j < length; ++j)
                found[j] = find(values[i + j]);
            int j = 0;
            for (; j + numTables <= length; j += numTables) {
                ++first[found[j]];
                ++second[found[j + 1]];
                ++third[found[j + 2]];
                ++fourth[found[j + 3]];
            }
            for (; j < length; ++j)
                ++first[found[j]];
        }
        for (int k = 0; k < stride; ++k)
            first[k] += second[k] + third[k] + fourth[k];
    }

private:
    Edge __first;
    Edge __last;
};

} // namespace elements

} // namespace vorlen
