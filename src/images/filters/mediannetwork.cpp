#include "images/filters/mediannetwork.h"

#include "images/filters/sortingnetwork.h"
#include "numerics/widevectors.h"

namespace vorlen {

namespace {

using sortingnetwork::kth;
using sortingnetwork::loadList;
using sortingnetwork::merge;
using sortingnetwork::sort3;
using sortingnetwork::sort5;
using sortingnetwork::storeList;
using widevectors::load;
using widevectors::Pack;
using widevectors::store;

// Medians of two windows of three lists each, of which the middle two are in both.
template <int length, class V, class T>
VORLEN_INLINED void mediansOfThree(const T* const* lists, std::size_t offset, std::size_t stride, T* first, T* second) {
    V a[length], b[length], both[2 * length], median;
    loadList<length>(static_cast<V*>(a), lists[1] + offset, stride);
    loadList<length>(static_cast<V*>(b), lists[2] + offset, stride);
    merge<length, length>(static_cast<const V*>(a), static_cast<const V*>(b), static_cast<V*>(both));
    constexpr int middle = (3 * length + 1) / 2;
    loadList<length>(static_cast<V*>(a), lists[0] + offset, stride);
    kth<2 * length, length, middle>(static_cast<const V*>(both), static_cast<const V*>(a), median);
    store(first + offset, median);
    loadList<length>(static_cast<V*>(a), lists[3] + offset, stride);
    kth<2 * length, length, middle>(static_cast<const V*>(both), static_cast<const V*>(a), median);
    store(second + offset, median);
}

// Each place's sorted list of the row's 2h + 1 elements around it. work has room for the row.
template <int h, class T>
void sortRow(const T* row, T* work, T* list, int columns, std::size_t stride) {
    std::copy_n(row, columns, work);
    widevectors::run([=](auto bytes) VORLEN_INLINED_LAMBDA {
        using V = typename Pack<T, decltype(bytes)::value>::Type;
        constexpr int lanes = Pack<T, decltype(bytes)::value>::lanes;
        for (int j = 0; j < columns - 2 * h; j += lanes) {
            V v[2 * h + 1];
            loadList<2 * h + 1>(static_cast<V*>(v), static_cast<const T*>(work + j), 1);
            if constexpr (h == 1)
                sort3(static_cast<V*>(v));
            else
                sort5(static_cast<V*>(v));
            storeList<2 * h + 1>(static_cast<const V*>(v), list + j + h, stride);
        }
    });
}

} // namespace

template <class T>
void MedianNetwork<T>::sortRowPart3(const T* row, T* work, T* list, int columns) {
    sortRow<1>(row, work, list, columns, static_cast<std::size_t>(columns) + Lists::padding);
}

template <class T>
void MedianNetwork<T>::sortRowPart5(const T* row, T* work, T* list, int columns) {
    sortRow<2>(row, work, list, columns, static_cast<std::size_t>(columns) + Lists::padding);
}

template <class T>
void MedianNetwork<T>::sortCubePart(const T* before, const T* present, const T* after, Lists& lists, int row,
                                    int columns) {
    const std::size_t stride = lists.stride();
    T* const work = lists.work();
    T* const list = lists.list(row);
    widevectors::run([=](auto bytes) VORLEN_INLINED_LAMBDA {
        using V = typename Pack<T, decltype(bytes)::value>::Type;
        constexpr int lanes = Pack<T, decltype(bytes)::value>::lanes;
        int j = 0;
        for (; j + lanes <= columns; j += lanes) {
            V v[3];
            load(v[0], before + j);
            load(v[1], present + j);
            load(v[2], after + j);
            sort3(static_cast<V*>(v));
            storeList<3>(static_cast<const V*>(v), work + j, stride);
        }
        for (; j < columns; ++j) {
            T v[3] = {before[j], present[j], after[j]};
            sort3(static_cast<T*>(v));
            storeList<3>(static_cast<const T*>(v), work + j, stride);
        }
        for (j = 0; j < columns - 2; j += lanes) {
            V a[3], b[3], ab[6], all[9];
            loadList<3>(static_cast<V*>(a), static_cast<const T*>(work + j), stride);
            loadList<3>(static_cast<V*>(b), static_cast<const T*>(work + j + 1), stride);
            merge<3, 3>(static_cast<const V*>(a), static_cast<const V*>(b), static_cast<V*>(ab));
            loadList<3>(static_cast<V*>(a), static_cast<const T*>(work + j + 2), stride);
            merge<6, 3>(static_cast<const V*>(ab), static_cast<const V*>(a), static_cast<V*>(all));
            storeList<9>(static_cast<const V*>(all), list + j + 1, stride);
        }
    });
}

template <class T>
void MedianNetwork<T>::medianOf9(const Window& lists, T* first, T* second, int columns) {
    widevectors::run([=](auto bytes) VORLEN_INLINED_LAMBDA {
        using V = typename Pack<T, decltype(bytes)::value>::Type;
        for (int j = 0; j < columns; j += Pack<T, decltype(bytes)::value>::lanes)
            mediansOfThree<3, V, T>(lists.at, static_cast<std::size_t>(j), lists.stride, first, second);
    });
}

template <class T>
void MedianNetwork<T>::medianOf27(const Window& lists, T* first, T* second, int columns) {
    widevectors::run([=](auto bytes) VORLEN_INLINED_LAMBDA {
        using V = typename Pack<T, decltype(bytes)::value>::Type;
        for (int j = 0; j < columns; j += Pack<T, decltype(bytes)::value>::lanes)
            mediansOfThree<9, V, T>(lists.at, static_cast<std::size_t>(j), lists.stride, first, second);
    });
}

template <class T>
void MedianNetwork<T>::medianOf25(const Window& lists, T* first, T* second, int columns) {
    widevectors::run([=](auto bytes) VORLEN_INLINED_LAMBDA {
        using V = typename Pack<T, decltype(bytes)::value>::Type;
        for (int j = 0; j < columns; j += Pack<T, decltype(bytes)::value>::lanes) {
            V a[5], b[5], ab[10], cd[10], four[20], median;
            loadList<5>(static_cast<V*>(a), lists.at[1] + j, lists.stride);
            loadList<5>(static_cast<V*>(b), lists.at[2] + j, lists.stride);
            merge<5, 5>(static_cast<const V*>(a), static_cast<const V*>(b), static_cast<V*>(ab));
            loadList<5>(static_cast<V*>(a), lists.at[3] + j, lists.stride);
            loadList<5>(static_cast<V*>(b), lists.at[4] + j, lists.stride);
            merge<5, 5>(static_cast<const V*>(a), static_cast<const V*>(b), static_cast<V*>(cd));
            merge<10, 10>(static_cast<const V*>(ab), static_cast<const V*>(cd), static_cast<V*>(four));
            loadList<5>(static_cast<V*>(a), lists.at[0] + j, lists.stride);
            kth<20, 5, 13>(static_cast<const V*>(four), static_cast<const V*>(a), median);
            store(first + j, median);
            loadList<5>(static_cast<V*>(a), lists.at[5] + j, lists.stride);
            kth<20, 5, 13>(static_cast<const V*>(four), static_cast<const V*>(a), median);
            store(second + j, median);
        }
    });
}

template class MedianNetwork<short>;
template class MedianNetwork<unsigned short>;
template class MedianNetwork<int>;
template class MedianNetwork<unsigned int>;
template class MedianNetwork<float>;
template class MedianNetwork<double>;
template class MedianNetwork<long double>;

} // namespace vorlen
