#include "images/rankmedian.h"

#include <algorithm>
#include <bit>
#include <cstddef>

#include "numerics/widevectors.h"

template <class T>
void RankMedian<T>::__rank() {
    std::sort(__sorted.begin(), __sorted.end(), [](const Element& a, const Element& b) {
        if (a.value != a.value || b.value != b.value)
            return a.value == a.value; // NaN behind all numbers
        return a.value < b.value;
    });
    __ranks.resize(__sorted.size());
    for (std::size_t rank = 0; rank < __sorted.size(); ++rank)
        __ranks[__sorted[rank].place] = static_cast<std::uint32_t>(rank);
    __window.resize(__sorted.size() / 64 + 1);
}

// One row of results. A move costs twice the window's rows times planes, and the few words that the median moves.
template <class T>
void RankMedian<T>::__medians(int row, int plane, int columns, T* target) {
    const int side = 2 * __h + 1;
    const int depth = 2 * __planeHalf + 1;
    const std::size_t inputColumns = static_cast<std::size_t>(__inputColumns);
    const std::size_t inputPlane = inputColumns * static_cast<std::size_t>(__inputRows);
    const std::uint32_t* const ranks =
        __ranks.data() + static_cast<std::size_t>(plane) * inputPlane + static_cast<std::size_t>(row) * inputColumns;
    std::uint64_t* const window = __window.data();
    const Element* const sorted = __sorted.data();
    std::fill(__window.begin(), __window.end(), std::uint64_t(0));
    const auto middle = static_cast<long long>(side) * side * depth / 2;
    widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
        std::uint32_t word = 0;                    // where the median was last
        long long below = 0;                       // elements of the window in the words before it
        for (int j = 1 - side; j < columns; ++j) { // the window fills before it gives a median
            for (int k = 0; k < depth; ++k) {
                const std::uint32_t* const plane0 = ranks + static_cast<std::size_t>(k) * inputPlane;
                for (int i = 0; i < side; ++i) {
                    const std::uint32_t* const values = plane0 + static_cast<std::size_t>(i) * inputColumns;
                    const std::uint32_t entering = values[j + side - 1];
                    window[entering >> 6] |= std::uint64_t(1) << (entering & 63);
                    below += (entering >> 6) < word;
                    if (j > 0) {
                        const std::uint32_t leaving = values[j - 1];
                        window[leaving >> 6] &= ~(std::uint64_t(1) << (leaving & 63));
                        below -= (leaving >> 6) < word;
                    }
                }
            }
            if (j < 0)
                continue;
            while (below > middle)
                below -= __builtin_popcountll(window[--word]);
            for (int count = __builtin_popcountll(window[word]); below + count <= middle;
                 count = __builtin_popcountll(window[word])) {
                below += count;
                ++word;
            }
            std::uint64_t bits = window[word];
            for (long long rest = middle - below; rest > 0; --rest)
                bits &= bits - 1;
            target[j] = sorted[word * 64 + static_cast<unsigned int>(__builtin_ctzll(bits))].value;
        }
    });
}

template class RankMedian<short>;
template class RankMedian<unsigned short>;
template class RankMedian<int>;
template class RankMedian<unsigned int>;
template class RankMedian<float>;
template class RankMedian<double>;
template class RankMedian<long double>;
