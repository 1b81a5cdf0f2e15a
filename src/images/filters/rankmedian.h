#pragma once

#include <cstdint>
#include <type_traits>
#include <vector>

namespace vorlen {

/// Medians over a square or cubic window of any half size, by a moving histogram of ranks.
///
/// The volume is worked on in blocks somewhat larger than the window. All elements that a block sees are sorted once;
/// from there on an element is its rank among them, and the window is a set of ranks, one bit each. As the window moves
/// by a column, its ranks enter and leave in constant time and the median is found a few words from the last one
/// (J. Suomela, Median Filtering is Equivalent to Sorting, 2014). NaN counts as greatest.
///
/// Compiled for short, unsigned short, int, unsigned int, float, double and long double.
template <class T>
class RankMedian {
public:
    /// For windows of 2h + 1 rows and columns and of 2 planeHalf + 1 planes (planeHalf is h, or 0 in a matrix).
    RankMedian(int h, int planeHalf) : __h(h), __planeHalf(planeHalf) {}

    /// Side of the square or cube of results that a block should cover: so large that sorting what the block sees costs
    /// no more than moving the window over it.
    int blockSide() const { return __planeHalf > 0 ? 16 + __h / 4 : 64 + __h; }

    /// A block of results: its first row, column and plane in the volume, and its sizes.
    struct Block {
        int row, column, plane;
        int rows, columns, planes;
    };

    /// source(i, k) and target(i, k) give row i of plane k. All windows of the block must lie inside the volume.
    /// goesOn() is asked between rows; when it says no, the rest of the block stays.
    template <class Source, class Target, class GoesOn>
    void apply(const Block& block, Source source, Target target, GoesOn goesOn) {
        __inputRows = block.rows + 2 * __h;
        __inputColumns = block.columns + 2 * __h;
        const int inputPlanes = block.planes + 2 * __planeHalf;
        __values.clear();
        for (int k = 0; k < inputPlanes; ++k)
            for (int i = 0; i < __inputRows; ++i) {
                const T* const values = source(block.row - __h + i, block.plane - __planeHalf + k) + block.column - __h;
                __values.insert(__values.end(), values, values + __inputColumns);
            }
        __rank();
        for (int k = 0; k < block.planes; ++k)
            for (int i = 0; i < block.rows && goesOn(); ++i)
                __medians(i, k, block.columns, target(block.row + i, block.plane + k) + block.column);
    }

private:
    // Orders places by a whole number that is in the order of T; a long double stands for itself.
    struct Element {
        std::conditional_t<(sizeof(T) > 8), T, std::conditional_t<(sizeof(T) > 4), std::uint64_t, std::uint32_t>> key;
        std::uint32_t place;
    };

    void __sort();
    void __rank();
    void __medians(int row, int plane, int columns, T* target);

    int __h;
    int __planeHalf;
    int __inputRows = 0;
    int __inputColumns = 0;
    std::vector<T> __values; ///< of each place: planes, then rows, then columns
    std::vector<Element> __sorted;
    std::vector<Element> __spare;
    std::vector<std::uint32_t> __ranks;  ///< of each place
    std::vector<std::uint64_t> __window; ///< bit r is set when the element of rank r lies in the window
};

} // namespace vorlen
