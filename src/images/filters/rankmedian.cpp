#include "images/filters/rankmedian.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <utility>

#include "numerics/widevectors.h"

namespace vorlen {

namespace {

// A whole number for each value, in the same order; NaN gets the greatest.
template <class Key, class T>
Key keyOf(T value) {
    if constexpr (std::is_integral_v<T>) {
        constexpr Key shift = std::is_signed_v<T> ? Key(1) << 31 : Key(0);
        return static_cast<Key>(value) + shift;
    } else {
        if (value != value)
            return ~Key(0);
        const auto bits = std::bit_cast<Key>(value);
        constexpr Key sign = Key(1) << (8 * sizeof(Key) - 1);
        return bits & sign ? ~bits : bits | sign; // negative numbers in reverse
    }
}

} // namespace

// Sorts by digits of 11 bits from the lowest on. Digits that are the same in all keys cost nothing: whole numbers of
// few bits, the usual contents of an image, are sorted in one or two passes whatever T.
template <class T>
void RankMedian<T>::__sort() {
    const std::size_t count = __values.size();
    __sorted.resize(count);
    if constexpr (sizeof(T) > 8) {
        for (std::size_t place = 0; place < count; ++place)
            __sorted[place] = {__values[place], static_cast<std::uint32_t>(place)};
        std::sort(__sorted.begin(), __sorted.end(), [](const Element& a, const Element& b) {
            return a.key < b.key || (a.key == a.key && b.key != b.key); // NaN behind all numbers
        });
    } else {
        using Key = decltype(Element::key);
        constexpr int bits = 11, digits = (8 * int(sizeof(Key)) + bits - 1) / bits;
        constexpr Key mask = (Key(1) << bits) - 1;
        __spare.resize(count);
        std::array<std::array<std::uint32_t, 1 << bits>, digits> starts{};
        for (std::size_t place = 0; place < count; ++place) {
            const Key key = keyOf<Key>(__values[place]);
            __sorted[place] = {key, static_cast<std::uint32_t>(place)};
            for (int digit = 0; digit < digits; ++digit)
                ++starts[std::size_t(digit)][std::size_t(key >> (digit * bits) & mask)];
        }
        for (int digit = 0; digit < digits; ++digit) {
            auto& start = starts[std::size_t(digit)];
            if (start[std::size_t(__sorted[0].key >> (digit * bits) & mask)] == count)
                continue;
            std::uint32_t next = 0;
            for (std::uint32_t& place : start)
                next += std::exchange(place, next);
            for (const Element& element : __sorted)
                __spare[start[std::size_t(element.key >> (digit * bits) & mask)]++] = element;
            __sorted.swap(__spare);
        }
    }
}

template <class T>
void RankMedian<T>::__rank() {
    __sort();
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
    const T* const values = __values.data();
    std::fill(__window.begin(), __window.end(), std::uint64_t(0));
    const auto middle = static_cast<long long>(side) * side * depth / 2;
    widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
        std::uint32_t word = 0;                    // where the median was last
        long long below = 0;                       // elements of the window in the words before it
        for (int j = 1 - side; j < columns; ++j) { // the window fills before it gives a median
            for (int k = 0; k < depth; ++k) {
                const std::uint32_t* const plane0 = ranks + static_cast<std::size_t>(k) * inputPlane;
                for (int i = 0; i < side; ++i) {
                    const std::uint32_t* const line = plane0 + static_cast<std::size_t>(i) * inputColumns;
                    const std::uint32_t entering = line[j + side - 1];
                    window[entering >> 6] |= std::uint64_t(1) << (entering & 63);
                    below += (entering >> 6) < word;
                    if (j > 0) {
                        const std::uint32_t leaving = line[j - 1];
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
            target[j] = values[sorted[word * 64 + static_cast<unsigned int>(__builtin_ctzll(bits))].place];
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

} // namespace vorlen
