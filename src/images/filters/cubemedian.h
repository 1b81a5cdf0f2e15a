#pragma once

#include <cstddef>
#include <type_traits>
#include <vector>

namespace vorlen {

/// Medians over the cube of half size 2, 125 elements, by networks of minima and maxima for a vector of neighbouring
/// columns at once. The elements must not be NaN; which of 0 and -0 a median is stays open.
///
/// What windows share is sorted once (A. Adams, ACM Trans. Graphics 40, 2021): the five elements behind each other at
/// each place; of these five neighbours in a row, merged to a list of 25; of these the lists of two rows, merged to one
/// of 50 that serves four rows of results. Two windows, one above the other, have four rows in common: of their 100
/// elements, in order, only the middle 26 can be a median, and each window takes its own from them and the 25 of its
/// own row. That makes about 510 minima and maxima for a vector of medians. (A histogram of ranks, see RankMedian,
/// moves 50 elements in and out for each single median.)
///
/// Compiled for short, unsigned short, int, unsigned int, float and double.
template <class T>
class CubeMedian {
public:
    static constexpr int h = 2;
    /// Whether there is a network for the type: a long double, one at a time, would be slower than by ranks.
    static constexpr bool exists = sizeof(T) <= 8;
    /// Columns that are worked on together, so that all lists stay in the cache.
    static constexpr int blockWidth = 64;

    CubeMedian();

    /// Medians of rows first to last - 1 and of count columns, at most blockWidth, from column on. source(i, c) gives
    /// row i of the plane c before (below 0) or behind (above 0) that of the results, for c from -2 to 2; target(i) the
    /// row for the results. All windows lie inside the volume.
    template <class Source, class Target>
    void apply(int first, int last, int column, int count, Source source, Target target) {
        int made = first - h; // rows whose lists have been made
        for (int i = first; i < last; i += 2) {
            const int pair = (i - first) / 2; // that of the rows i - 1 and i
            for (; made < last + h && made <= i + h + 1; ++made) {
                const T* planes[2 * h + 1];
                for (int c = -h; c <= h; ++c)
                    planes[c + h] = source(made, c) + column - h;
                makeList(planes, list(made - first + h), count);
            }
            if (i == first)
                joinLists(list(h - 1), list(h), pairList(pair), count);
            joinLists(list(i - first + h + 1), list(i - first + h + 2), pairList(pair + 1), count);
            T* const results[2] = {__results.data(), __results.data() + stride};
            takeMedians(pairList(pair), pairList(pair + 1), list(i - first), list(i - first + 2 * h + 1), results,
                        count);
            for (int row = i; row < last && row < i + 2; ++row)
                for (int j = 0; j < count; ++j)
                    target(row)[column + j] = results[row - i][j];
        }
    }

private:
    static constexpr int listLength = (2 * h + 1) * (2 * h + 1);
    static constexpr int rowSlots = 2 * h + 2;
    // Lines have room for a whole vector behind the last column.
    static constexpr std::size_t stride = blockWidth + 2 * h + 32;

    T* list(int row) { return __lists.data() + stride * std::size_t(listLength * (row % rowSlots)); }
    T* pairList(int pair) { return __pairLists.data() + stride * std::size_t(2 * listLength * (pair % 2)); }

    void makeList(const T* const* planes, T* to, int count);
    void joinLists(const T* a, const T* b, T* to, int count) const;
    void takeMedians(const T* a, const T* b, const T* above, const T* below, T* const* results, int count) const;

    // Each element of a list is a line of one element for each column.
    std::vector<T> __columns; ///< the sorted five at each place
    std::vector<T> __lists;
    std::vector<T> __pairLists;
    std::vector<T> __results;
};

} // namespace vorlen
