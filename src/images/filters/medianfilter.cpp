#include "images/filters/medianfilter.h"

#include <algorithm>
#include <cmath>

#include "images/filters/mediannetwork.h"
#include "images/filters/rankmedian.h"
#include "images/filters/stepprogress.h"
#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

template <class T>
bool holdsNaN(const PixelMatrix<T>& matrix) {
    for (int i = 0; i < matrix.getSize1(); ++i) {
        const T* const values = matrix[i].data();
        int found = 0;
        for (int j = 0; j < matrix.getSize2(); ++j)
            found |= values[j] != values[j];
        if (found != 0)
            return true;
    }
    return false;
}

template <class T>
bool holdsNaN(const VoxelMatrix<T>& volume) {
    for (int k = 0; k < volume.getSize3(); ++k)
        if (holdsNaN(volume[k]))
            return true;
    return false;
}

// Calls the work with the first index and the number of indices of each piece of first to last - 1.
template <class Work>
void inPieces(int first, int last, int piece, Work work) {
    for (int at = first; at < last; at += piece)
        work(at, std::min(piece, last - at));
}

// Rows, columns or planes that have a whole window.
int innerSize(int size, int h) {
    return static_cast<int>(std::max<long long>(size - 2 * static_cast<long long>(h), 0));
}

// Throws when the elements of a window cannot be counted in ranks of 32 bits.
void checkWindow(int h, int dimension) {
    const double side = 2.0 * h + 1.0;
    if (std::pow(side, dimension) > 2147483648.0)
        throw SizeError("void MedianFilter<T>::apply(...)", "The window is too large");
}

} // namespace

template <class T>
void MedianFilter<T>::apply(PixelMatrix<T>& matrix) {
    const int h = getHalfSize();
    if (h < 1 || getNumIterations() < 1)
        return;
    const int rows = innerSize(matrix.getSize1(), h);
    if (rows == 0 || innerSize(matrix.getSize2(), h) == 0)
        return;
    checkWindow(h, 2);
    StepProgress progress(*this,
                          static_cast<unsigned long long>(rows) * static_cast<unsigned long long>(getNumIterations()));
    this->notifyStarted("");
    for (int iteration = 0; iteration < getNumIterations(); ++iteration)
        standardApply(matrix, progress);
    this->notifyFinished("");
}

template <class T>
void MedianFilter<T>::apply(VoxelMatrix<T>& volume) {
    const int h = getHalfSize();
    if (h < 1 || getNumIterations() < 1)
        return;
    const int rows = innerSize(volume.getSize1(), h);
    const int planes = innerSize(volume.getSize3(), h);
    if (rows == 0 || planes == 0 || innerSize(volume.getSize2(), h) == 0)
        return;
    checkWindow(h, 3);
    StepProgress progress(*this, static_cast<unsigned long long>(rows) * static_cast<unsigned long long>(planes) *
                                     static_cast<unsigned long long>(getNumIterations()));
    this->notifyStarted("");
    for (int iteration = 0; iteration < getNumIterations(); ++iteration)
        standardApply(volume, progress);
    this->notifyFinished("");
}

template <class T>
void MedianFilter<T>::standardApply(PixelMatrix<T>& matrix, StepProgress& progress) const {
    const int h = getHalfSize();
    const auto report = [&progress](int rows) { progress.advance(static_cast<unsigned long long>(rows)); };
    if (MedianNetwork<T>::canFilterMatrix(h) && !holdsNaN(matrix)) {
        MedianNetwork<T>::apply(matrix, h, report);
        return;
    }
    RankMedian<T> medians(h, 0);
    const int side = medians.blockSide();
    PixelMatrix<T> result(matrix);
    inPieces(h, matrix.getSize1() - h, side, [&](int row, int rows) {
        inPieces(h, matrix.getSize2() - h, side, [&](int column, int columns) {
            medians.apply(
                {row, column, 0, rows, columns, 1}, [&](int i, int) { return static_cast<const T*>(matrix[i].data()); },
                [&](int i, int) { return result[i].data(); });
        });
        report(rows);
    });
    matrix.swap(result);
}

template <class T>
void MedianFilter<T>::standardApply(VoxelMatrix<T>& volume, StepProgress& progress) const {
    const int h = getHalfSize();
    const auto report = [&progress](int rows) { progress.advance(static_cast<unsigned long long>(rows)); };
    if (MedianNetwork<T>::canFilterVolume(h) && !holdsNaN(volume)) {
        MedianNetwork<T>::apply(volume, report);
        return;
    }
    RankMedian<T> medians(h, h);
    const int side = medians.blockSide();
    VoxelMatrix<T> result(volume);
    inPieces(h, volume.getSize3() - h, side, [&](int plane, int planes) {
        inPieces(h, volume.getSize1() - h, side, [&](int row, int rows) {
            inPieces(h, volume.getSize2() - h, side, [&](int column, int columns) {
                medians.apply(
                    {row, column, plane, rows, columns, planes},
                    [&](int i, int k) { return static_cast<const T*>(volume[k][i].data()); },
                    [&](int i, int k) { return result[k][i].data(); });
            });
            report(rows * planes);
        });
    });
    volume.swap(result);
}

template class MedianFilter<short>;
template class MedianFilter<unsigned short>;
template class MedianFilter<int>;
template class MedianFilter<unsigned int>;
template class MedianFilter<float>;
template class MedianFilter<double>;
template class MedianFilter<long double>;

} // namespace vorlen
