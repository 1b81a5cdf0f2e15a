#include "images/filters/cubemedian.h"

#include <algorithm>

#include "images/filters/sortingnetwork.h"
#include "numerics/widevectors.h"

namespace vorlen {

namespace {

using sortingnetwork::kth;
using sortingnetwork::loadList;
using sortingnetwork::merge;
using sortingnetwork::sort5;
using sortingnetwork::storeList;
using widevectors::Pack;
using widevectors::store;

} // namespace

template <class T>
CubeMedian<T>::CubeMedian()
    : __columns(stride * (2 * h + 1), T(0)), __lists(stride * listLength * rowSlots, T(0)),
      __pairLists(stride * 2 * listLength * 2, T(0)), __results(2 * stride, T(0)) {
}

template <class T>
void CubeMedian<T>::makeList(const T* const* planes, T* to, int count) {
    const int width = count + 2 * h;
    T* const columns = __columns.data();
    // The planes' rows end where they end; single elements follow the last whole vector.
    widevectors::run([=](auto bytes) VORLEN_INLINED_LAMBDA {
        using V = typename Pack<T, decltype(bytes)::value>::Type;
        constexpr int lanes = Pack<T, decltype(bytes)::value>::lanes;
        int j = 0;
        for (; j + lanes <= width; j += lanes) {
            V v[5];
            widevectors::unrolled<5>([&](auto c) VORLEN_INLINED_LAMBDA { widevectors::load(v[c], planes[c] + j); });
            sort5(static_cast<V*>(v));
            storeList<5>(static_cast<const V*>(v), columns + j, stride);
        }
        for (; j < width; ++j) {
            T v[5];
            widevectors::unrolled<5>([&](auto c) VORLEN_INLINED_LAMBDA { v[c] = planes[c][j]; });
            sort5(static_cast<T*>(v));
            storeList<5>(static_cast<const T*>(v), columns + j, stride);
        }
        for (j = 0; j < count; j += lanes) {
            V a[5], b[5], ab[10], cd[10], four[20], all[25];
            const T* const at = columns + j;
            loadList<5>(static_cast<V*>(a), at, stride);
            loadList<5>(static_cast<V*>(b), at + 1, stride);
            merge<5, 5>(static_cast<const V*>(a), static_cast<const V*>(b), static_cast<V*>(ab));
            loadList<5>(static_cast<V*>(a), at + 2, stride);
            loadList<5>(static_cast<V*>(b), at + 3, stride);
            merge<5, 5>(static_cast<const V*>(a), static_cast<const V*>(b), static_cast<V*>(cd));
            merge<10, 10>(static_cast<const V*>(ab), static_cast<const V*>(cd), static_cast<V*>(four));
            loadList<5>(static_cast<V*>(a), at + 4, stride);
            merge<20, 5>(static_cast<const V*>(four), static_cast<const V*>(a), static_cast<V*>(all));
            storeList<25>(static_cast<const V*>(all), to + j, stride);
        }
    });
}

template <class T>
void CubeMedian<T>::joinLists(const T* a, const T* b, T* to, int count) const {
    widevectors::run([=](auto bytes) VORLEN_INLINED_LAMBDA {
        using V = typename Pack<T, decltype(bytes)::value>::Type;
        for (int j = 0; j < count; j += Pack<T, decltype(bytes)::value>::lanes) {
            V one[25], other[25], both[50];
            loadList<25>(static_cast<V*>(one), a + j, stride);
            loadList<25>(static_cast<V*>(other), b + j, stride);
            merge<25, 25>(static_cast<const V*>(one), static_cast<const V*>(other), static_cast<V*>(both));
            storeList<50>(static_cast<const V*>(both), to + j, stride);
        }
    });
}

// What no median depends on of the 100 is not worked out: the compiler leaves it away.
template <class T>
void CubeMedian<T>::takeMedians(const T* a, const T* b, const T* above, const T* below, T* const* results,
                                int count) const {
    T* const first = results[0];
    T* const second = results[1];
    widevectors::run([=](auto bytes) VORLEN_INLINED_LAMBDA {
        using V = typename Pack<T, decltype(bytes)::value>::Type;
        for (int j = 0; j < count; j += Pack<T, decltype(bytes)::value>::lanes) {
            V one[50], other[50], common[100], own[25], median;
            loadList<50>(static_cast<V*>(one), a + j, stride);
            loadList<50>(static_cast<V*>(other), b + j, stride);
            merge<50, 50>(static_cast<const V*>(one), static_cast<const V*>(other), static_cast<V*>(common));
            loadList<25>(static_cast<V*>(own), above + j, stride);
            kth<100, 25, 63>(static_cast<const V*>(common), static_cast<const V*>(own), median);
            store(first + j, median);
            loadList<25>(static_cast<V*>(own), below + j, stride);
            kth<100, 25, 63>(static_cast<const V*>(common), static_cast<const V*>(own), median);
            store(second + j, median);
        }
    });
}

template class CubeMedian<short>;
template class CubeMedian<unsigned short>;
template class CubeMedian<int>;
template class CubeMedian<unsigned int>;
template class CubeMedian<float>;
template class CubeMedian<double>;

} // namespace vorlen
