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

    /// One contiguous line of n elements; from and to may be the same. mask may be null.
    void line(const T* from, T* to, const T* mask, int n, int h);

    /// Along the rows, and along the columns, of a matrix. mask may be null. report hears a number of lines done.
    template <class Report>
    void rows(PixelMatrix<T>& matrix, const PixelMatrix<T>* mask, int h, Report report) {
        for (int i = 0; i < matrix.getSize1(); ++i) {
            line(matrix[i].data(), matrix[i].data(), mask != nullptr ? (*mask)[i].data() : nullptr, matrix.getSize2(),
                 h);
            report(1);
        }
    }
    template <class Report>
    void columns(PixelMatrix<T>& matrix, const PixelMatrix<T>* mask, int h, Report report) {
        __lines.resize(static_cast<std::size_t>(matrix.getSize1()));
        __masks.resize(mask != nullptr ? __lines.size() : 0);
        for (std::size_t i = 0; i < __lines.size(); ++i)
            __lines[i] = matrix[static_cast<int>(i)].data();
        for (std::size_t i = 0; i < __masks.size(); ++i)
            __masks[i] = (*mask)[static_cast<int>(i)].data();
        __across(matrix.getSize2(), h, report);
    }

    /// Along the third index of a volume.
    template <class Report>
    void planes(VoxelMatrix<T>& volume, const VoxelMatrix<T>* mask, int h, Report report) {
        __lines.resize(static_cast<std::size_t>(volume.getSize3()));
        __masks.resize(mask != nullptr ? __lines.size() : 0);
        for (int i = 0; i < volume.getSize1(); ++i) {
            for (std::size_t k = 0; k < __lines.size(); ++k)
                __lines[k] = volume[static_cast<int>(k)][i].data();
            for (std::size_t k = 0; k < __masks.size(); ++k)
                __masks[k] = (*mask)[static_cast<int>(k)][i].data();
            __across(volume.getSize2(), h, report);
        }
    }

private:
    template <class Report>
    void __across(int count, int h, Report report) {
        const int width = __blockWidth(h);
        for (int first = 0; first < count; first += width) {
            const int block = count - first < width ? count - first : width;
            __acrossBlock(first, block, h);
            report(block);
        }
    }
    int __blockWidth(int h) const;
    void __acrossBlock(int offset, int count, int h);

    std::vector<T*> __lines;
    std::vector<const T*> __masks; ///< empty without a mask
    std::vector<T> __first;
    std::vector<T> __second;
};

} // namespace vorlen
