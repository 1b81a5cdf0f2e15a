#include "images/filters/medianfilter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <vector>

#include "images/filters/cubemedian.h"
#include "images/filters/mediannetwork.h"
#include "images/filters/parallelwork.h"
#include "images/filters/rankmedian.h"
#include "images/filters/slidingplanes.h"
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

unsigned long long product(int a, int b) {
    return static_cast<unsigned long long>(a) * static_cast<unsigned long long>(b);
}

// The elements of a plane that have no whole window stay.
template <class T>
void copyBorder(SlidingPlanes<T>& sliding, const VoxelMatrix<T>& volume, int k, int h) {
    const int rows = volume.getSize1(), columns = volume.getSize2();
    for (int i = 0; i < rows; ++i) {
        const bool whole = i < h || i >= rows - h;
        std::copy_n(sliding.original(i, k), whole ? columns : h, sliding.row(i, k));
        std::copy_n(sliding.original(i, k) + columns - h, h, sliding.row(i, k) + columns - h);
    }
}

// Medians of half size 1 or 2 over blocks of one plane of a volume.
template <class T>
class BlockMedian {
public:
    explicit BlockMedian(int h) : __h(h), __ranks(h, h) {}

    void apply(SlidingPlanes<T>& sliding, const typename RankMedian<T>::Block& block) {
        if (seesNaN(sliding, block)) {
            __ranks.apply(
                block, [&](int i, int k) { return sliding.original(i, k); },
                [&](int i, int k) { return sliding.row(i, k); }, [] { return true; });
            return;
        }
        const auto source = [&](int i, int c) { return sliding.original(i, block.plane + c); };
        const auto target = [&](int i) { return sliding.row(i, block.plane); };
        const int last = block.row + block.rows;
        if constexpr (CubeMedian<T>::exists)
            if (__h == 2) {
                if (!__wide)
                    __wide = std::make_unique<CubeMedian<T>>();
                __wide->apply(block.row, last, block.column, block.columns, source, target);
                return;
            }
        __network.apply(block.row, last, block.column, block.columns, source, target);
    }

private:
    bool seesNaN(const SlidingPlanes<T>& sliding, const typename RankMedian<T>::Block& block) const {
        if constexpr (!std::is_floating_point_v<T>)
            return false;
        const int columns = block.columns + 2 * __h;
        int found = 0;
        for (int k = block.plane - __h; k <= block.plane + __h; ++k)
            for (int i = block.row - __h; i < block.row + block.rows + __h; ++i) {
                const T* const values = sliding.original(i, k) + block.column - __h;
                for (int j = 0; j < columns; ++j)
                    found |= values[j] != values[j];
            }
        return found != 0;
    }

    int __h;
    RankMedian<T> __ranks;
    MedianNetwork<T> __network;
    std::unique_ptr<CubeMedian<T>> __wide;
};

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
    bool complete = true;
    for (int iteration = 0; complete && iteration < getNumIterations(); ++iteration)
        complete = standardApply(matrix, progress);
    notifyEnd(*this, complete);
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
    ParallelWork work(*this, product(rows, planes) * static_cast<unsigned long long>(getNumIterations()));
    this->notifyStarted("");
    bool complete = true;
    for (int iteration = 0; complete && iteration < getNumIterations(); ++iteration)
        complete = standardApply(volume, work);
    notifyEnd(*this, complete);
}

template <class T>
bool MedianFilter<T>::standardApply(PixelMatrix<T>& matrix, StepProgress& progress) const {
    const int h = getHalfSize();
    const auto report = [&progress](int rows) { return progress.advance(static_cast<unsigned long long>(rows)); };
    if (MedianNetwork<T>::canFilterMatrix(h) && !holdsNaN(matrix))
        return MedianNetwork<T>::apply(matrix, h, report);
    RankMedian<T> medians(h, 0);
    const int side = medians.blockSide();
    PixelMatrix<T> result(matrix);
    const auto goesOn = [this] { return !this->isCanceled(); };
    bool complete = true;
    inPieces(h, matrix.getSize1() - h, side, [&](int row, int rows) {
        inPieces(h, matrix.getSize2() - h, side, [&](int column, int columns) {
            if (complete)
                medians.apply(
                    {row, column, 0, rows, columns, 1},
                    [&](int i, int) { return static_cast<const T*>(matrix[i].data()); },
                    [&](int i, int) { return result[i].data(); }, goesOn);
        });
        complete = complete && report(rows);
    });
    matrix.swap(result);
    return complete;
}

template <class T>
bool MedianFilter<T>::standardApply(VoxelMatrix<T>& volume, ParallelWork& work) const {
    const int h = getHalfSize();
    return h == 1 || (h == 2 && CubeMedian<T>::exists) ? applyNetwork(volume, work) : applyByRanks(volume, work);
}

// Parts are blocks of one plane. Where a block sees a NaN, its medians are found by ranks.
template <class T>
bool MedianFilter<T>::applyNetwork(VoxelMatrix<T>& volume, ParallelWork& work) const {
    const int h = getHalfSize();
    constexpr int blockRows = 64;
    const int planes = volume.getSize3();
    const Pieces rowPieces(volume.getSize1() - 2 * h, blockRows);
    const Pieces columnPieces(volume.getSize2() - 2 * h, MedianNetwork<T>::blockWidth);
    std::vector<std::unique_ptr<BlockMedian<T>>> medians(static_cast<std::size_t>(work.workers()));
    SlidingPlanes<T> sliding(volume, h, SlidingPlanes<T>::thinBatch(planes));
    return sliding.replace(h, planes - h, [&](int first, int last) {
        for (int k = first; k < last; ++k)
            copyBorder(sliding, volume, k, h);
        const int perPlane = rowPieces.count() * columnPieces.count();
        return work.run(
            perPlane * (last - first), product(last - first, volume.getSize1() - 2 * h), [&](int number, int worker) {
                auto& median = medians[static_cast<std::size_t>(worker)];
                if (!median)
                    median = std::make_unique<BlockMedian<T>>(h);
                const int row = number % perPlane / columnPieces.count();
                const int column = number % columnPieces.count();
                median->apply(sliding, {h + rowPieces.first(row), h + columnPieces.first(column),
                                        first + number / perPlane, rowPieces.last(row) - rowPieces.first(row),
                                        columnPieces.last(column) - columnPieces.first(column), 1});
            });
    });
}

// Parts are blocks of all planes of a batch.
template <class T>
bool MedianFilter<T>::applyByRanks(VoxelMatrix<T>& volume, ParallelWork& work) const {
    const int h = getHalfSize();
    const int planes = volume.getSize3();
    std::vector<RankMedian<T>> medians(static_cast<std::size_t>(work.workers()), RankMedian<T>(h, h));
    const int side = medians[0].blockSide();
    const Pieces rowPieces(volume.getSize1() - 2 * h, side), columnPieces(volume.getSize2() - 2 * h, side);
    SlidingPlanes<T> sliding(volume, h, std::clamp(planes / 16, 1, side));
    return sliding.replace(h, planes - h, [&](int first, int last) {
        for (int k = first; k < last; ++k)
            copyBorder(sliding, volume, k, h);
        return work.run(rowPieces.count() * columnPieces.count(), product(last - first, volume.getSize1() - 2 * h),
                        [&](int number, int worker) {
                            const int row = number / columnPieces.count(), column = number % columnPieces.count();
                            medians[static_cast<std::size_t>(worker)].apply(
                                {h + rowPieces.first(row), h + columnPieces.first(column), first,
                                 rowPieces.last(row) - rowPieces.first(row),
                                 columnPieces.last(column) - columnPieces.first(column), last - first},
                                [&](int i, int k) { return sliding.original(i, k); },
                                [&](int i, int k) { return sliding.row(i, k); }, [&] { return !work.isCanceled(); });
                        });
    });
}

template class MedianFilter<short>;
template class MedianFilter<unsigned short>;
template class MedianFilter<int>;
template class MedianFilter<unsigned int>;
template class MedianFilter<float>;
template class MedianFilter<double>;
template class MedianFilter<long double>;

} // namespace vorlen
