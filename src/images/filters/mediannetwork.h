#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"

namespace vorlen {

/// Medians over small windows by networks of minima and maxima, which take a vector of neighbouring columns at once and
/// have no branches: squares of half size 1 and 2, and the cube of half size 1. In place; elements nearer to the border
/// than the half size stay. The elements must not be NaN.
///
/// What neighbouring windows share is sorted once: each row's part of a window is sorted into a list, the lists of the
/// rows that two windows, one above the other, have in common are merged (K. E. Batcher, AFIPS 32, 1968), and each of
/// the two takes its median from that list and the one of its own (A. Adams, ACM Trans. Graphics 40, 2021).
///
/// report hears a number of rows done. Compiled for short, unsigned short, int, unsigned int, float, double and
/// long double.
template <class T>
class MedianNetwork {
public:
    static bool canFilterMatrix(int h) { return h == 1 || h == 2; }
    static bool canFilterVolume(int h) { return h == 1; }

    template <class Report>
    static void apply(PixelMatrix<T>& matrix, int h, Report report) {
        if (h == 1)
            __apply<1>(matrix, report);
        else
            __apply<2>(matrix, report);
    }

    template <class Report>
    static void apply(VoxelMatrix<T>& volume, Report report) {
        const int columns = volume.getSize2();
        Lists lists(columns, 9, 4);
        PixelMatrix<T> before = volume[0]; // originals of the planes that have been replaced
        PixelMatrix<T> present;
        for (int k = 1; k + 1 < volume.getSize3(); ++k) {
            present = volume[k];
            __sweep<1>(
                volume[k], lists,
                [&](int i) {
                    sortCubePart(before[i].data(), present[i].data(), volume[k + 1][i].data(), lists.work(),
                                 lists.list(i), columns);
                },
                [&](int i, T* first, T* second) { medianOf27(lists.lists(i), first, second, columns); }, report);
            before.swap(present);
        }
    }

private:
    // Sorted lists of the last rows, each as so many lines of one element for each column, with room for a whole vector
    // behind the last.
    class Lists {
    public:
        Lists(int columns, int length, int slots)
            : __stride(static_cast<std::size_t>(columns) + padding), __length(length), __slots(slots),
              __data(__stride * static_cast<std::size_t>(length * slots), T(0)), __work(__stride * 4, T(0)) {}

        static constexpr std::size_t padding = 64;
        std::size_t stride() const { return __stride; }
        T* list(int row) { return __data.data() + __stride * static_cast<std::size_t>(__length * (row % __slots)); }
        T* work() { return __work.data(); }
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
    };

    template <int h, class Report>
    static void __apply(PixelMatrix<T>& matrix, Report report) {
        const int columns = matrix.getSize2();
        Lists lists(columns, 2 * h + 1, 2 * h + 2);
        __sweep<h>(
            matrix, lists,
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
            report);
    }

    // Two rows of results at a time; both come from the lists of 2h + 2 rows. A last single row has a second result
    // that is thrown away, from a list that is no longer, or not yet, of its row.
    template <int h, class MakeList, class Medians, class Report>
    static void __sweep(PixelMatrix<T>& matrix, Lists& lists, MakeList makeList, Medians medians, Report report) {
        const int rows = matrix.getSize1();
        const auto inner = static_cast<std::size_t>(matrix.getSize2() - 2 * h);
        std::vector<T> results(2 * lists.stride());
        int made = 0;
        for (int i = h; i < rows - h; i += 2) {
            for (; made < rows && made <= i + h + 1; ++made)
                makeList(made);
            medians(i - h, results.data(), results.data() + lists.stride());
            std::copy_n(results.data() + h, inner, matrix[i].data() + h);
            const bool pair = i + 1 < rows - h;
            if (pair)
                std::copy_n(results.data() + lists.stride() + h, inner, matrix[i + 1].data() + h);
            report(pair ? 2 : 1);
        }
    }

    using Window = typename Lists::Window;
    static void sortRowPart3(const T* row, T* work, T* list, int columns);
    static void sortRowPart5(const T* row, T* work, T* list, int columns);
    static void sortCubePart(const T* before, const T* present, const T* after, T* work, T* list, int columns);
    static void medianOf9(const Window& lists, T* first, T* second, int columns);
    static void medianOf25(const Window& lists, T* first, T* second, int columns);
    static void medianOf27(const Window& lists, T* first, T* second, int columns);
};

} // namespace vorlen
