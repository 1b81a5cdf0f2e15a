#pragma once

#include <cstddef>

#include "numerics/widevectors.h"

namespace vorlen {

/// Pieces of networks of minima and maxima on vectors, or single elements, without NaN.
namespace sortingnetwork {

using widevectors::load;
using widevectors::Pack;
using widevectors::store;
using widevectors::unrolled;

template <class V>
VORLEN_INLINED void exchange(V& a, V& b) {
    const V lesser = a < b ? a : b;
    const V greater = b < a ? a : b; // not from the same comparison, so that it is one instruction as well
    a = lesser;
    b = greater;
}

template <class V>
VORLEN_INLINED void sort3(V* v) {
    exchange(v[0], v[1]);
    exchange(v[1], v[2]);
    exchange(v[0], v[1]);
}

template <class V>
VORLEN_INLINED void sort5(V* v) {
    exchange(v[0], v[3]);
    exchange(v[1], v[4]);
    exchange(v[0], v[2]);
    exchange(v[1], v[3]);
    exchange(v[0], v[1]);
    exchange(v[2], v[4]);
    exchange(v[1], v[2]);
    exchange(v[3], v[4]);
    exchange(v[2], v[3]);
}

// Odd-even merge of two sorted lists (D. E. Knuth, The Art of Computer Programming 3, section 5.3.4).
template <int n, int m, class V>
VORLEN_INLINED void merge(const V* a, const V* b, V* to) {
    if constexpr (n == 0) {
        unrolled<m>([=](auto i) VORLEN_INLINED_LAMBDA { to[i] = b[i]; });
    } else if constexpr (m == 0) {
        unrolled<n>([=](auto i) VORLEN_INLINED_LAMBDA { to[i] = a[i]; });
    } else if constexpr (n == 1 && m == 1) {
        to[0] = a[0];
        to[1] = b[0];
        exchange(to[0], to[1]);
    } else {
        constexpr int nOdd = (n + 1) / 2, nEven = n / 2, mOdd = (m + 1) / 2, mEven = m / 2;
        V aOdd[nOdd], aEven[nEven + 1], bOdd[mOdd], bEven[mEven + 1], odd[nOdd + mOdd], even[nEven + mEven + 1];
        unrolled<nOdd>([&](auto i) VORLEN_INLINED_LAMBDA { aOdd[i] = a[2 * i]; });
        unrolled<nEven>([&](auto i) VORLEN_INLINED_LAMBDA { aEven[i] = a[2 * i + 1]; });
        unrolled<mOdd>([&](auto i) VORLEN_INLINED_LAMBDA { bOdd[i] = b[2 * i]; });
        unrolled<mEven>([&](auto i) VORLEN_INLINED_LAMBDA { bEven[i] = b[2 * i + 1]; });
        merge<nOdd, mOdd>(static_cast<const V*>(aOdd), static_cast<const V*>(bOdd), static_cast<V*>(odd));
        merge<nEven, mEven>(static_cast<const V*>(aEven), static_cast<const V*>(bEven), static_cast<V*>(even));
        // The first of odd stands; then each of even meets the next of odd; what is left of either comes last.
        constexpr int numOdd = nOdd + mOdd, numEven = nEven + mEven;
        constexpr int pairs = numEven < numOdd - 1 ? numEven : numOdd - 1;
        to[0] = odd[0];
        unrolled<pairs>([&](auto i) VORLEN_INLINED_LAMBDA {
            to[2 * i + 1] = even[i];
            to[2 * i + 2] = odd[i + 1];
            exchange(to[2 * i + 1], to[2 * i + 2]);
        });
        if constexpr (numOdd - 1 > pairs)
            to[n + m - 1] = odd[numOdd - 1];
        else if constexpr (numEven > pairs)
            to[n + m - 1] = even[numEven - 1];
    }
}

// The k-th smallest, counted from 1, of two sorted lists together: whatever number i of elements comes from a and k - i
// from b, the greater of the last ones is at least the k-th, and for one i it is.
template <int n, int m, int k, class V>
VORLEN_INLINED void kth(const V* a, const V* b, V& result) {
    static_assert(n >= k && k > m && m > 0);
    result = a[k - 1];
    unrolled<m>([&](auto j) VORLEN_INLINED_LAMBDA {
        const V last = a[k - 2 - j] < b[j] ? b[j] : a[k - 2 - j];
        result = last < result ? last : result;
    });
}

template <int count, class V, class T>
VORLEN_INLINED void loadList(V* list, const T* from, std::size_t stride) {
    unrolled<count>([=](auto p) VORLEN_INLINED_LAMBDA { load(list[p], from + stride * std::size_t(p)); });
}

template <int count, class V, class T>
VORLEN_INLINED void storeList(const V* list, T* to, std::size_t stride) {
    unrolled<count>([=](auto p) VORLEN_INLINED_LAMBDA { store(to + stride * std::size_t(p), list[p]); });
}

} // namespace sortingnetwork

} // namespace vorlen
