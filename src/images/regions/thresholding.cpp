#include "images/regions/thresholding.h"

#include <cstddef>
#include <vector>

#include "images/filters/parallelwork.h"
#include "images/filters/stepprogress.h"
#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"

namespace vorlen {

namespace {

template <class T>
void binarize(Vector<T>& row, T threshold, T below, T above) {
    T* const values = row.data();
    const int columns = row.getSize();
    for (int j = 0; j < columns; ++j)
        values[j] = threshold > values[j] ? below : above;
}

template <class T>
void markEqual(const Vector<T>& row, T value, unsigned char* marks) {
    const T* const values = row.data();
    const int columns = row.getSize();
    for (int j = 0; j < columns; ++j)
        marks[j] = values[j] == value;
}

} // namespace

template <class T>
Thresholding<T>::~Thresholding() = default;

template <class T>
void Thresholding<T>::apply(PixelMatrix<T>& matrix) {
    const T above = __foregroundIsAbove ? __foreground : __background;
    const T below = __foregroundIsAbove ? __background : __foreground;
    const int rows = matrix.getSize1();
    this->notifyStarted("");
    for (int i = 0; i < rows; ++i) {
        binarize(matrix[i], __threshold, below, above);
        this->notifyProgressed(static_cast<unsigned int>(i) + 1, static_cast<unsigned int>(rows));
    }
    this->notifyFinished("");
}

template <class T>
void Thresholding<T>::apply(VoxelMatrix<T>& volume) {
    const T above = __foregroundIsAbove ? __foreground : __background;
    const T below = __foregroundIsAbove ? __background : __foreground;
    const int rows = volume.getSize1();
    const int planes = volume.getSize3();
    ParallelWork work(*this, static_cast<unsigned long long>(rows));
    this->notifyStarted("");
    const bool complete = work.run(rows, static_cast<unsigned long long>(rows), [&](int i, int) {
        for (int k = 0; k < planes; ++k)
            binarize(volume[k][i], __threshold, below, above);
    });
    notifyEnd(*this, complete);
}

template <class T>
void Thresholding<T>::levelSetMask(PixelMatrix<T>& matrix, T level) const {
    const int columns = matrix.getSize2();
    for (int i = 0; i < matrix.getSize1(); ++i) {
        T* const values = matrix[i].data();
        for (int j = 0; j < columns; ++j)
            values[j] = values[j] == level ? __foreground : __background;
    }
}

template <class T>
void Thresholding<T>::levelSetMask(VoxelMatrix<T>& volume, T level) const {
    for (int k = 0; k < volume.getSize3(); ++k)
        levelSetMask(volume[k], level);
}

// Three rows of marks tell which pixels were foreground before; a row is rewritten when the one below is marked.
template <class T>
void Thresholding<T>::contours(PixelMatrix<T>& matrix) const {
    const int rows = matrix.getSize1();
    const int columns = matrix.getSize2();
    if (rows < 3 || columns < 3)
        return;
    const auto width = static_cast<std::size_t>(columns);
    std::vector<unsigned char> previous(width), current(width), next(width), whole(width);
    markEqual(matrix[0], __foreground, previous.data());
    markEqual(matrix[1], __foreground, current.data());
    for (int i = 1; i < rows - 1; ++i) {
        markEqual(matrix[i + 1], __foreground, next.data());
        for (std::size_t j = 0; j < width; ++j)
            whole[j] = previous[j] & current[j] & next[j];
        T* const values = matrix[i].data();
        const unsigned char* const marks = whole.data();
        for (int j = 1; j < columns - 1; ++j)
            values[j] = (marks[j - 1] & marks[j] & marks[j + 1]) != 0 ? __background : values[j];
        previous.swap(current);
        current.swap(next);
    }
}

template class Thresholding<int>;
template class Thresholding<float>;
template class Thresholding<double>;
template class Thresholding<long double>;

} // namespace vorlen
