#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "images/rasters/pixelmatrix.h"

namespace vorlen {

/// Medians over small windows by networks of minima and maxima, which take a vector of neighbouring columns at once and
/// have no branches: squares of half size 1 and 2, in place, where elements nearer to the border than the half size
/// stay, and the cube of half size 1. (See CubeMedian for half size 2.) The elements must not be NaN; which of 0 and -0
/// a median is stays open.
///
/// What neighbouring windows share is sorted once: each row's part of a window is sorted into a list, the lists of the
/// rows that two windows, one above the other, have in common are merged (K. E. Batcher, AFIPS 32, 1968), and each of
/// the two takes its median from that list and the one of its own (A. Adams, ACM Trans. Graphics 40, 2021).
///
/// Compiled for short, unsigned short, int, unsigned int, float, double and
/// long double.
template <class T>
class MedianNetwork {
public:
    static bool canFilterMatrix(int h) { return h == 1 || h == 2; }

    /// Columns of a volume that are worked on together, so that all lists stay in the cache.
    static constexpr int blockWidth = 64;

    /// Working memory for blocks of a volume.
    MedianNetwork() : __lists(blockWidth + 2, 9, 4) {}

    /// A matrix. report hears a number of rows done, and tells whether to go on; the rows that were not reached then
    /// stay as they were. True when all were.
    template <class Report>
    static bool apply(PixelMatrix<T>& matrix, int h, Report report) {
        return h == 1 ? applyTo<1>(matrix, report) : applyTo<2>(matrix, report);
    }

    /// A block of a volume with half size 1: medians of rows first to last - 1 and of count columns, at most
    /// blockWidth, from column on. source(i, c) gives row i of the plane c before (below 0) or behind (above 0) that of
    /// the results, for c from -1 to 1; target(i) the row for the results. All windows lie inside the volume.
    template <class Source, class Target>
    void apply(int first, int last, int column, int count, Source source, Target target) {
        const int columns = count + 2;
        sweep<1>(
            first, last, __lists,
            [&](int i) {
                sortCubePart(source(i, -1) + column - 1, source(i, 0) + column - 1, source(i, 1) + column - 1, __lists,
                             i, columns);
            },
            [&](int i, T* upper, T* lower) { medianOf27(__lists.lists(i), upper, lower, columns); },
            [&](int i, const T* results) { std::copy_n(results + 1, count, target(i) + column); },
            [](int) { return true; });
    }

private:
    // Sorted lists of the last rows, each as so many lines of one element for each column, with room for a whole vector
    // behind the last.
    class Lists {
    public:
        Lists(int columns, int length, int slots)
            : __stride(static_cast<std::size_t>(columns) + padding), __length(length), __slots(slots),
              __data(__stride * static_cast<std::size_t>(length * slots), T(0)), __work(__stride * 4, T(0)),
              __results(__stride * 2, T(0)) {}

        static constexpr std::size_t padding = 64;
        std::size_t stride() const { return __stride; }
        T* list(int row) { return __data.data() + __stride * static_cast<std::size_t>(__length * (row % __slots)); }
        T* work() { return __work.data(); }
        T* results() { return __results.data(); }
        /// The lists from row first on, as many as there are slots.
        struct Window {
            const T* at[6];
            std::size_t stride;
        };
        Window lists(int first) {
            Window window{};
            for (int s = 0; s < __slots; ++s)
                window.at[s] = list(first + s);
            window.stride = __stride;
            return window;
        }

    private:
        std::size_t __stride;
        int __length;
        int __slots;
        std::vector<T> __data;
        std::vector<T> __work;
        std::vector<T> __results;
    };

    template <int h, class Report>
    static bool applyTo(PixelMatrix<T>& matrix, Report report) {
        const int columns = matrix.getSize2();
        const auto inner = static_cast<std::size_t>(columns - 2 * h);
        Lists lists(columns, 2 * h + 1, 2 * h + 2);
        return sweep<h>(
            h, matrix.getSize1() - h, lists,
            [&](int i) {
                const auto sort = h == 1 ? sortRowPart3 : sortRowPart5;
                sort(matrix[i].data(), lists.work(), lists.list(i), columns);
            },
            [&](int i, T* first, T* second) {
                if constexpr (h == 1)
                    medianOf9(lists.lists(i), first, second, columns);
                else
                    medianOf25(lists.lists(i), first, second, columns);
            },
            [&](int i, const T* results) { std::copy_n(results + h, inner, matrix[i].data() + h); }, report);
    }

    // Two rows of results at a time, first to last - 1; both come from the lists of 2h + 2 rows. A last single row has
    // a second result that is thrown away, from a list that is no longer, or not yet, of its row.
    template <int h, class MakeList, class Medians, class Take, class Report>
    static bool sweep(int first, int last, Lists& lists, MakeList makeList, Medians medians, Take take, Report report) {
        T* const upper = lists.results();
        T* const lower = upper + lists.stride();
        int made = first - h;
        for (int i = first; i < last; i += 2) {
            for (; made < last + h && made <= i + h + 1; ++made)
                makeList(made);
            medians(i - h, upper, lower);
            take(i, static_cast<const T*>(upper));
            const bool pair = i + 1 < last;
            if (pair)
                take(i + 1, static_cast<const T*>(lower));
            if (!report(pair ? 2 : 1))
                return false;
        }
        return true;
    }

    using Window = typename Lists::Window;
    static void sortRowPart3(const T* row, T* work, T* list, int columns);
    static void sortRowPart5(const T* row, T* work, T* list, int columns);
    static void sortCubePart(const T* before, const T* present, const T* after, Lists& lists, int row, int columns);
    static void medianOf9(const Window& lists, T* first, T* second, int columns);
    static void medianOf25(const Window& lists, T* first, T* second, int columns);
    static void medianOf27(const Window& lists, T* first, T* second, int columns);

    Lists __lists;
};

} // namespace vorlen
