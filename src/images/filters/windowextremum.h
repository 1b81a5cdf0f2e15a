#pragma once

#include <cstddef>
#include <limits>
#include <type_traits>
#include <vector>

#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"

namespace vorlen {

/// Smallest (or, with greatest true, greatest) element of a window that slides along one axis of a matrix or volume, in
/// place: the window of element i is [i - h, i + h], as far as it lies inside.
///
/// With a mask only elements whose mask is not 0 count, and only they are replaced. Masks must have the size of what
/// they cover; the caller checks.
///
/// The best of a window that holds a NaN is NaN. This costs more, and is done only while setCareful() says so.
///
/// Rows go through windows of doubling length, a vector of neighbours at a time: the binary logarithm of the window's
/// length in comparisons. Columns and lines of planes take three comparisons for an element whatever h, for a block of
/// neighbouring columns at once (M. van Herk, Pattern Recognition Letters 13, 1992).
///
/// Compiled for short, unsigned short, int, unsigned int, float, double and long double.
template <class T, bool greatest>
class WindowExtremum {
public:
    /// What every element of T is better than or equal to: it never wins.
    static constexpr T neutral() {
        if constexpr (std::is_floating_point_v<T>)
            return greatest ? -std::numeric_limits<T>::infinity() : std::numeric_limits<T>::infinity();
        else
            return greatest ? std::numeric_limits<T>::lowest() : std::numeric_limits<T>::max();
    }

    /// Whether there may be NaN; without that, at first, there must be none where a mask does not hide it.
    void setCareful(bool careful) { __careful = careful && std::is_floating_point_v<T>; }
    static bool holdsNaN(const T* values, int count);
    static bool holdsNaN(const PixelMatrix<T>& matrix);

    /// One contiguous line of n elements; from and to may be the same. mask may be null.
    void line(const T* from, T* to, const T* mask, int n, int h);

    /// Along the rows, and along the columns, of a matrix. mask may be null. report hears a number of lines done, and
    /// tells whether to go on; false when it did not.
    template <class Report>
    bool rows(PixelMatrix<T>& matrix, const PixelMatrix<T>* mask, int h, Report report) {
        for (int i = 0; i < matrix.getSize1(); ++i) {
            line(matrix[i].data(), matrix[i].data(), mask != nullptr ? (*mask)[i].data() : nullptr, matrix.getSize2(),
                 h);
            if (!report(1))
                return false;
        }
        return true;
    }
    template <class Report>
    bool columns(PixelMatrix<T>& matrix, const PixelMatrix<T>* mask, int h, Report report) {
        __lines.resize(static_cast<std::size_t>(matrix.getSize1()));
        __masks.resize(mask != nullptr ? __lines.size() : 0);
        for (std::size_t i = 0; i < __lines.size(); ++i)
            __lines[i] = matrix[static_cast<int>(i)].data();
        for (std::size_t i = 0; i < __masks.size(); ++i)
            __masks[i] = (*mask)[static_cast<int>(i)].data();
        return __across(matrix.getSize2(), h, report);
    }

    /// Along the third index of a volume, for its rows i.
    template <class Report>
    bool planes(VoxelMatrix<T>& volume, const VoxelMatrix<T>* mask, int i, int h, Report report) {
        __lines.resize(static_cast<std::size_t>(volume.getSize3()));
        __masks.resize(mask != nullptr ? __lines.size() : 0);
        for (std::size_t k = 0; k < __lines.size(); ++k)
            __lines[k] = volume[static_cast<int>(k)][i].data();
        for (std::size_t k = 0; k < __masks.size(); ++k)
            __masks[k] = (*mask)[static_cast<int>(k)][i].data();
        return __across(volume.getSize2(), h, report);
    }

private:
    template <class Report>
    bool __across(int count, int h, Report report) {
        const int width = __blockWidth(h);
        for (int first = 0; first < count; first += width) {
            const int block = count - first < width ? count - first : width;
            if constexpr (std::is_floating_point_v<T>)
                __careful ? __acrossBlock<true>(first, block, h) : __acrossBlock<false>(first, block, h);
            else
                __acrossBlock<false>(first, block, h);
            if (!report(block))
                return false;
        }
        return true;
    }
    int __blockWidth(int h) const;
    template <bool careful>
    void __acrossBlock(int offset, int count, int h);
    template <bool careful>
    void __line(const T* from, T* to, const T* mask, int n, int h);

    bool __careful = false;

    std::vector<T*> __lines;
    std::vector<const T*> __masks; ///< empty without a mask
    std::vector<T> __first;
    std::vector<T> __second;
};

} // namespace vorlen
