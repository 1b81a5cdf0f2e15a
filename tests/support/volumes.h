#pragma once

#include <cstdint>
#include <initializer_list>
#include <random>
#include <vector>

#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"

namespace vorlen {

/// A matrix with the rows given, all of one length.
template <class T>
PixelMatrix<T> matrixOf(std::initializer_list<std::initializer_list<T>> rows) {
    PixelMatrix<T> matrix(static_cast<int>(rows.size()), static_cast<int>(rows.begin()->size()));
    int i = 0;
    for (const auto& row : rows) {
        int j = 0;
        for (const T value : row)
            matrix[i][j++] = value;
        ++i;
    }
    return matrix;
}

/// A volume whose element (i, j, k) is function(i, j, k).
template <class T, class Function>
VoxelMatrix<T> volumeOf(int size1, int size2, int size3, Function function) {
    VoxelMatrix<T> volume(size1, size2, size3);
    for (int k = 0; k < size3; ++k)
        for (int i = 0; i < size1; ++i)
            for (int j = 0; j < size2; ++j)
                volume(i, j, k) = static_cast<T>(function(i, j, k));
    return volume;
}

/// The number that writes row, column and plane side by side: 100 * plane + 10 * row + column.
template <class T>
VoxelMatrix<T> numberedVolume(int size1, int size2, int size3) {
    return volumeOf<T>(size1, size2, size3, [](int i, int j, int k) { return 100 * k + 10 * i + j; });
}

/// A volume of whole numbers from low to high, the same for the same seed everywhere.
template <class T>
VoxelMatrix<T> randomVolume(int size1, int size2, int size3, unsigned int seed, int low, int high) {
    std::mt19937 engine(seed);
    return volumeOf<T>(size1, size2, size3, [&](int, int, int) {
        return low + static_cast<int>(engine() % static_cast<std::uint32_t>(high - low + 1));
    });
}

/// The first plane of such a volume.
template <class T>
PixelMatrix<T> randomMatrix(int rows, int columns, unsigned int seed, int low, int high) {
    return randomVolume<T>(rows, columns, 1, seed, low, high)[0];
}

/// Replaces every line along one index (0, 1 or 2) by function(line, mask line), where mask may be null.
template <class T, class Function>
void replaceLines(VoxelMatrix<T>& volume, const VoxelMatrix<T>* mask, int axis, Function function) {
    const int size[3] = {volume.getSize1(), volume.getSize2(), volume.getSize3()};
    const int b = (axis + 1) % 3, c = (axis + 2) % 3;
    int at[3];
    for (at[b] = 0; at[b] < size[b]; ++at[b])
        for (at[c] = 0; at[c] < size[c]; ++at[c]) {
            std::vector<T> line, masks;
            for (at[axis] = 0; at[axis] < size[axis]; ++at[axis]) {
                line.push_back(volume(at[0], at[1], at[2]));
                masks.push_back(mask != nullptr ? (*mask)(at[0], at[1], at[2]) : T(1));
            }
            line = function(line, masks);
            for (at[axis] = 0; at[axis] < size[axis]; ++at[axis])
                volume(at[0], at[1], at[2]) = line[static_cast<std::size_t>(at[axis])];
        }
}

} // namespace vorlen
