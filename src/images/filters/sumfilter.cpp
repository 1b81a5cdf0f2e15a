#include "images/filters/sumfilter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <vector>

#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"

namespace vorlen {

namespace {

// Sums of integers run in an unsigned type, where an overflow is defined and wraps to what T would hold; sums of
// float run in double.
template <class T>
using Total =
    std::conditional_t<std::is_integral_v<T>, unsigned int, std::conditional_t<std::is_same_v<T, float>, double, T>>;

template <class T>
Total<T> windowLength(int h) {
    return static_cast<Total<T>>(2 * static_cast<long long>(h) + 1);
}

template <class T>
bool isShort(int length, int h) {
    return length <= 2 * static_cast<long long>(h);
}

template <class T>
void scale(T* values, int count, Total<T> factor) {
    for (int j = 0; j < count; ++j)
        values[j] = static_cast<T>(static_cast<Total<T>>(values[j]) * factor);
}

// Running sums of as many lines at once as the template says: one line alone would wait for each of its additions.
// source holds copies of the lines; a line is longer than 2h.
template <class T, int lines>
void sumLines(const T* const* source, T* const* target, int length, int h) {
    Total<T> sums[lines];
    for (int line = 0; line < lines; ++line) {
        sums[line] = 0;
        for (int j = 0; j < 2 * h; ++j)
            sums[line] += static_cast<Total<T>>(source[line][j]);
    }
    for (int j = h; j < length - h; ++j)
        for (int line = 0; line < lines; ++line) {
            const Total<T> sum = sums[line] + static_cast<Total<T>>(source[line][j + h]);
            target[line][j] = static_cast<T>(sum);
            sums[line] = sum - static_cast<Total<T>>(source[line][j - h]);
        }
}

// Sums along the rows of one plane; report hears the number of rows done after each.
template <class T, class Report>
void sumRows(PixelMatrix<T>& matrix, int h, Report report) {
    constexpr int together = 8;
    const int rows = matrix.getSize1();
    const int columns = matrix.getSize2();
    const Total<T> factor = windowLength<T>(h);
    const bool allBorder = isShort<T>(columns, h);
    std::vector<T> copies(allBorder ? 0 : static_cast<std::size_t>(columns) * together);
    const T* source[together];
    T* target[together];
    for (int first = 0; first < rows; first += together) {
        const int count = std::min(together, rows - first);
        for (int line = 0; line < count; ++line) {
            target[line] = matrix[first + line].data();
            if (allBorder) {
                scale(target[line], columns, factor);
                continue;
            }
            T* const copy = copies.data() + static_cast<std::size_t>(line) * static_cast<std::size_t>(columns);
            std::copy_n(target[line], columns, copy);
            source[line] = copy;
            scale(target[line], h, factor);
            scale(target[line] + columns - h, h, factor);
        }
        if (!allBorder && count == together)
            sumLines<T, together>(source, target, columns, h);
        else if (!allBorder)
            for (int line = 0; line < count; ++line)
                sumLines<T, 1>(source + line, target + line, columns, h);
        for (int line = 0; line < count; ++line)
            report(first + line + 1);
    }
}

// One step of the sums across lines: the line that enters is added, the present one is kept and replaced, the one that
// leaves is taken off.
template <class T>
void sumStep(const T* __restrict entering, T* __restrict present, T* __restrict kept, const T* __restrict leaving,
             Total<T>* __restrict sums, int count) {
    for (int c = 0; c < count; ++c) {
        const T value = present[c];
        const Total<T> sum = sums[c] + static_cast<Total<T>>(entering[c]);
        present[c] = static_cast<T>(sum);
        kept[c] = value;
        sums[c] = sum - static_cast<Total<T>>(leaving[c]);
    }
}

// Sums across lines, for a block of neighbouring columns at once: line(i) is the block's part of line i, and each is
// read and written once. The lines that were replaced but have not left the window yet are kept in a ring of h + 1.
template <class T, class Line>
void sumAcrossBlock(Line line, int length, int count, int h, std::vector<T>& ring, std::vector<Total<T>>& sums) {
    const Total<T> factor = windowLength<T>(h);
    if (isShort<T>(length, h)) {
        for (int i = 0; i < length; ++i)
            scale(line(i), count, factor);
        return;
    }
    const int slots = h + 1;
    const auto width = static_cast<std::size_t>(count);
    if (ring.size() < width * static_cast<std::size_t>(slots))
        ring.resize(width * static_cast<std::size_t>(slots));
    sums.assign(width, Total<T>(0));
    for (int i = 0; i < 2 * h; ++i) {
        const T* const values = line(i);
        for (int c = 0; c < count; ++c)
            sums[static_cast<std::size_t>(c)] += static_cast<Total<T>>(values[c]);
    }
    for (int i = 0; i < h; ++i) {
        std::copy_n(line(i), count, ring.data() + width * static_cast<std::size_t>(i));
        scale(line(i), count, factor);
    }
    int slot = h;
    for (int i = h; i < length - h; ++i) {
        const int leaving = slot + 1 == slots ? 0 : slot + 1;
        sumStep(static_cast<const T*>(line(i + h)), line(i), ring.data() + width * static_cast<std::size_t>(slot),
                static_cast<const T*>(ring.data() + width * static_cast<std::size_t>(leaving)), sums.data(), count);
        slot = leaving;
    }
    for (int i = length - h; i < length; ++i)
        scale(line(i), count, factor);
}

// Columns of a block: as many as keep the ring and the sums in the second-level cache, but no fewer than let memory be
// read in whole lines.
template <class T>
int blockWidth(int h) {
    constexpr long long cacheBytes = 160 * 1024;
    const long long width = cacheBytes / ((static_cast<long long>(h) + 1) * static_cast<long long>(sizeof(T)));
    return static_cast<int>(std::clamp<long long>(width, 64, 1024));
}

// Sums down the columns of one plane; report hears the number of columns done after each.
template <class T, class Report>
void sumColumns(PixelMatrix<T>& matrix, int h, std::vector<T>& ring, std::vector<Total<T>>& sums, Report report) {
    const int columns = matrix.getSize2();
    const int width = blockWidth<T>(h);
    for (int first = 0; first < columns; first += width) {
        const int count = std::min(width, columns - first);
        sumAcrossBlock<T>([&](int i) { return matrix[i].data() + first; }, matrix.getSize1(), count, h, ring, sums);
        for (int done = first + 1; done <= first + count; ++done)
            report(done);
    }
}

// target[j] gets the sum of source[j + b] over b from -reach to reach, as far as they lie in the row, added to it.
template <class T>
void addShifted(const T* source, Total<T>* target, int columns, int reach) {
    const int furthest = std::min(reach, columns - 1);
    for (int b = -furthest; b <= furthest; ++b) {
        const int first = std::max(0, -b);
        const int last = columns - std::max(0, b);
        for (int j = first; j < last; ++j)
            target[j] += static_cast<Total<T>>(source[j + b]);
    }
}

// Half width of a ball at these distances from its centre, -1 outside the ball.
int reachAt(int h, int a, int c) {
    const long long rest =
        static_cast<long long>(h) * h - static_cast<long long>(a) * a - static_cast<long long>(c) * c;
    if (rest < 0)
        return -1;
    auto reach = static_cast<long long>(std::sqrt(static_cast<double>(rest)));
    while (reach * reach > rest)
        --reach;
    while ((reach + 1) * (reach + 1) <= rest)
        ++reach;
    return static_cast<int>(reach);
}

} // namespace

template <class T>
SumFilter<T>::SumFilter() {
    setAcceptBallMode(true);
}

template <class T>
void SumFilter<T>::apply(PixelMatrix<T>& matrix) {
    const int h = getHalfSize();
    if (h < 1 || matrix.getSize1() == 0 || matrix.getSize2() == 0)
        return;
    if (ballMode()) {
        __applyBall(matrix);
        return;
    }
    const auto rows = static_cast<unsigned long long>(matrix.getSize1());
    const auto columns = static_cast<unsigned long long>(matrix.getSize2());
    // Elements, or bundles of them where their number would not fit into the report.
    const unsigned long long bundle = 2 * rows * columns / std::numeric_limits<unsigned int>::max() + 1;
    const auto report = [&](unsigned long long done) {
        this->notifyProgressed(static_cast<unsigned int>(done / bundle),
                               static_cast<unsigned int>(2 * rows * columns / bundle));
    };
    std::vector<T> ring;
    std::vector<Total<T>> sums;
    this->notifyStarted("");
    sumRows(matrix, h, [&](int done) { report(static_cast<unsigned long long>(done) * columns); });
    sumColumns(matrix, h, ring, sums,
               [&](int done) { report(rows * columns + static_cast<unsigned long long>(done) * rows); });
    this->notifyFinished("");
}

template <class T>
void SumFilter<T>::apply(VoxelMatrix<T>& volume) {
    const int h = getHalfSize();
    if (h < 1 || volume.getSize1() == 0 || volume.getSize2() == 0 || volume.getSize3() == 0)
        return;
    if (ballMode()) {
        __applyBall(volume);
        return;
    }
    const int rows = volume.getSize1();
    const int columns = volume.getSize2();
    const int planes = volume.getSize3();
    const auto total = static_cast<unsigned int>(planes) + static_cast<unsigned int>(rows);
    std::vector<T> ring;
    std::vector<Total<T>> sums;
    this->notifyStarted("");
    for (int k = 0; k < planes; ++k) {
        sumRows(volume[k], h, [](int) {});
        sumColumns(volume[k], h, ring, sums, [](int) {});
        this->notifyProgressed(static_cast<unsigned int>(k) + 1, total);
    }
    const int width = blockWidth<T>(h);
    for (int i = 0; i < rows; ++i) {
        for (int first = 0; first < columns; first += width)
            sumAcrossBlock<T>([&](int k) { return volume[k][i].data() + first; }, planes,
                              std::min(width, columns - first), h, ring, sums);
        this->notifyProgressed(static_cast<unsigned int>(planes + i) + 1, total);
    }
    this->notifyFinished("");
}

template <class T>
void SumFilter<T>::__applyBall(PixelMatrix<T>& matrix) {
    const int h = getHalfSize();
    const int rows = matrix.getSize1();
    const int columns = matrix.getSize2();
    const int reach = std::min(h, rows - 1);
    PixelMatrix<T> result(rows, columns);
    std::vector<Total<T>> sums(static_cast<std::size_t>(columns));
    this->notifyStarted("");
    for (int i = 0; i < rows; ++i) {
        std::fill(sums.begin(), sums.end(), Total<T>(0));
        for (int a = std::max(-reach, -i); a <= reach && i + a < rows; ++a)
            addShifted(static_cast<const T*>(matrix[i + a].data()), sums.data(), columns, reachAt(h, a, 0));
        std::transform(sums.begin(), sums.end(), result[i].data(), [](Total<T> sum) { return static_cast<T>(sum); });
        this->notifyProgressed(static_cast<unsigned int>(i) + 1, static_cast<unsigned int>(rows));
    }
    matrix.swap(result);
    this->notifyFinished("");
}

template <class T>
void SumFilter<T>::__applyBall(VoxelMatrix<T>& volume) {
    const int h = getHalfSize();
    const int rows = volume.getSize1();
    const int columns = volume.getSize2();
    const int planes = volume.getSize3();
    const int rowReach = std::min(h, rows - 1);
    const int planeReach = std::min(h, planes - 1);
    VoxelMatrix<T> result(rows, columns, planes);
    result.setVoxelCalibration(volume.getVoxelCalibration());
    std::vector<Total<T>> sums(static_cast<std::size_t>(columns));
    this->notifyStarted("");
    for (int k = 0; k < planes; ++k) {
        for (int i = 0; i < rows; ++i) {
            std::fill(sums.begin(), sums.end(), Total<T>(0));
            for (int c = std::max(-planeReach, -k); c <= planeReach && k + c < planes; ++c)
                for (int a = std::max(-rowReach, -i); a <= rowReach && i + a < rows; ++a) {
                    const int reach = reachAt(h, a, c);
                    if (reach >= 0)
                        addShifted(static_cast<const T*>(volume[k + c][i + a].data()), sums.data(), columns, reach);
                }
            std::transform(sums.begin(), sums.end(), result[k][i].data(),
                           [](Total<T> sum) { return static_cast<T>(sum); });
        }
        this->notifyProgressed(static_cast<unsigned int>(k) + 1, static_cast<unsigned int>(planes));
    }
    volume.swap(result);
    this->notifyFinished("");
}

template class SumFilter<short>;
template class SumFilter<unsigned short>;
template class SumFilter<int>;
template class SumFilter<unsigned int>;
template class SumFilter<float>;
template class SumFilter<double>;
template class SumFilter<long double>;

} // namespace vorlen
