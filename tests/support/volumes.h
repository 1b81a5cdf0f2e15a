#pragma once

#include <initializer_list>

#include "images/pixelmatrix.h"
#include "images/voxelmatrix.h"

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
