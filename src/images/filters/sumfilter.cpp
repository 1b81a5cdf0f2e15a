#include "images/filters/sumfilter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <vector>

#include "images/filters/parallelwork.h"
#include "images/filters/slidingplanes.h"
#include "images/filters/stepprogress.h"
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

// Whether a running sum would never get rid of one of the values: a difference of two infinities, or with a NaN, is
// NaN.
template <class T>
bool holdsLasting(const T* values, int count) {
    if constexpr (std::is_floating_point_v<T>) {
        int found = 0;
        for (int c = 0; c < count; ++c)
            found |= !(values[c] - values[c] == T(0));
        return found != 0;
    } else {
        return false;
    }
}

// The values of a window that are not finite, counted apart from the running sum of the others.
struct Lasting {
    int notNumbers = 0, infinities = 0, negativeInfinities = 0;

    template <class T>
    void count(T value, int step) {
        if (value != value)
            notNumbers += step;
        else
            (value > T(0) ? infinities : negativeInfinities) += step;
    }
    template <class R>
    R sumWith(R finite) const {
        if (notNumbers > 0 || (infinities > 0 && negativeInfinities > 0))
            return std::numeric_limits<R>::quiet_NaN();
        const R infinity = std::numeric_limits<R>::infinity();
        return infinities > 0 ? infinity : negativeInfinities > 0 ? -infinity : finite;
    }
};

// A running sum that can let every value go again.
template <class T>
class CarefulSum {
public:
    explicit CarefulSum(Total<T> finite = 0) : __finite(finite) {}

    void add(T value) { isFinite(value) ? void(__finite += static_cast<Total<T>>(value)) : __lasting.count(value, 1); }
    void remove(T value) {
        isFinite(value) ? void(__finite -= static_cast<Total<T>>(value)) : __lasting.count(value, -1);
    }
    Total<T> get() const { return __lasting.sumWith(__finite); }

private:
    static bool isFinite(T value) { return value - value == T(0); }

    Total<T> __finite;
    Lasting __lasting;
};

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

template <class T>
void sumLineCarefully(const T* source, T* target, int length, int h) {
    CarefulSum<T> sum;
    for (int j = 0; j < 2 * h; ++j)
        sum.add(source[j]);
    for (int j = h; j < length - h; ++j) {
        sum.add(source[j + h]);
        target[j] = static_cast<T>(sum.get());
        sum.remove(source[j - h]);
    }
}

// Working memory of one thread.
template <class T>
struct Memory {
    std::vector<T> lines;
    std::vector<Total<T>> sums;
    std::vector<CarefulSum<T>> carefulSums;
};

// Sums along the rows of one plane; report hears of one more row each time, and tells whether to go on.
template <class T, class Report>
bool sumRows(PixelMatrix<T>& matrix, int h, Memory<T>& memory, Report report) {
    constexpr int together = 8;
    const int rows = matrix.getSize1();
    const int columns = matrix.getSize2();
    const Total<T> factor = windowLength<T>(h);
    const bool allBorder = isShort<T>(columns, h);
    if (!allBorder && memory.lines.size() < static_cast<std::size_t>(columns) * together)
        memory.lines.resize(static_cast<std::size_t>(columns) * together);
    const T* source[together];
    T* target[together];
    for (int first = 0; first < rows; first += together) {
        const int count = std::min(together, rows - first);
        bool careful = false;
        for (int line = 0; line < count; ++line) {
            target[line] = matrix[first + line].data();
            if (allBorder) {
                scale(target[line], columns, factor);
                continue;
            }
            T* const copy = memory.lines.data() + static_cast<std::size_t>(line) * static_cast<std::size_t>(columns);
            std::copy_n(target[line], columns, copy);
            source[line] = copy;
            scale(target[line], h, factor);
            scale(target[line] + columns - h, h, factor);
            careful = careful || holdsLasting(static_cast<const T*>(copy), columns);
        }
        if (!allBorder && count == together && !careful)
            sumLines<T, together>(source, target, columns, h);
        for (int line = 0; line < count && !allBorder && (careful || count < together); ++line)
            careful ? sumLineCarefully(source[line], target[line], columns, h)
                    : sumLines<T, 1>(source + line, target + line, columns, h);
        for (int line = 0; line < count; ++line)
            if (!report())
                return false;
    }
    return true;
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

template <class T>
void sumStepCarefully(const T* entering, T* present, T* kept, const T* leaving, CarefulSum<T>* sums, int count) {
    for (int c = 0; c < count; ++c) {
        const T value = present[c];
        sums[c].add(entering[c]);
        present[c] = static_cast<T>(sums[c].get());
        kept[c] = value;
        sums[c].remove(leaving[c]);
    }
}

// Sums across lines, for a block of neighbouring columns at once: line(i) is the block's part of line i, and each is
// read and written once. The lines that were replaced but have not left the window yet are kept in a ring of h + 1.
template <class T, class Line>
void sumAcrossBlock(Line line, int length, int count, int h, Memory<T>& memory) {
    const Total<T> factor = windowLength<T>(h);
    if (isShort<T>(length, h)) {
        for (int i = 0; i < length; ++i)
            scale(line(i), count, factor);
        return;
    }
    const int slots = h + 1;
    const auto width = static_cast<std::size_t>(count);
    if (memory.lines.size() < width * static_cast<std::size_t>(slots))
        memory.lines.resize(width * static_cast<std::size_t>(slots));
    T* const ring = memory.lines.data();
    memory.sums.assign(width, Total<T>(0));
    // With care from the first line on that needs it. Up to there all is finite, and the sums go on from where they
    // are.
    bool careful = false;
    const auto lookAt = [&](const T* entering) {
        if (careful || !holdsLasting(entering, count))
            return;
        careful = true;
        memory.carefulSums.clear();
        for (const Total<T> sum : memory.sums)
            memory.carefulSums.emplace_back(sum);
    };
    for (int i = 0; i < 2 * h; ++i) {
        const T* const values = line(i);
        lookAt(values);
        for (std::size_t c = 0; c < width; ++c)
            if (careful)
                memory.carefulSums[c].add(values[c]);
            else
                memory.sums[c] += static_cast<Total<T>>(values[c]);
    }
    for (int i = 0; i < h; ++i) {
        std::copy_n(line(i), count, ring + width * static_cast<std::size_t>(i));
        scale(line(i), count, factor);
    }
    int slot = h;
    for (int i = h; i < length - h; ++i) {
        const int leaving = slot + 1 == slots ? 0 : slot + 1;
        const T* const entering = line(i + h);
        T* const kept = ring + width * static_cast<std::size_t>(slot);
        const T* const left = ring + width * static_cast<std::size_t>(leaving);
        lookAt(entering);
        if (careful)
            sumStepCarefully(entering, line(i), kept, left, memory.carefulSums.data(), count);
        else
            sumStep(entering, line(i), kept, left, memory.sums.data(), count);
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

// Sums down the columns of one plane; report hears the number of columns done each time, and tells whether to go on.
template <class T, class Report>
bool sumColumns(PixelMatrix<T>& matrix, int h, Memory<T>& memory, Report report) {
    const int columns = matrix.getSize2();
    const int width = blockWidth<T>(h);
    for (int first = 0; first < columns; first += width) {
        const int count = std::min(width, columns - first);
        sumAcrossBlock<T>([&](int i) { return matrix[i].data() + first; }, matrix.getSize1(), count, h, memory);
        if (!report(count))
            return false;
    }
    return true;
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
    unsigned long long done = 0;
    const auto report = [&](unsigned long long elements) {
        done += elements;
        if (!this->isCanceled())
            this->notifyProgressed(static_cast<unsigned int>(done / bundle),
                                   static_cast<unsigned int>(2 * rows * columns / bundle));
        return !this->isCanceled();
    };
    Memory<T> memory;
    this->notifyStarted("");
    const bool complete =
        sumRows(matrix, h, memory, [&] { return report(columns); }) && sumColumns(matrix, h, memory, [&](int count) {
            for (; count > 1; --count)
                report(rows);
            return report(rows);
        });
    notifyEnd(*this, complete || done == 2 * rows * columns);
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
    const auto steps = [](int count) { return static_cast<unsigned long long>(count); };
    ParallelWork work(*this, steps(planes) + steps(rows));
    std::vector<Memory<T>> memories(static_cast<std::size_t>(work.workers()));
    this->notifyStarted("");
    const int width = blockWidth<T>(h);
    const bool complete = work.run(planes, steps(planes), [&](int k, int worker) {
        Memory<T>& memory = memories[static_cast<std::size_t>(worker)];
        const auto goesOn = [&work] { return !work.isCanceled(); };
        if (sumRows(volume[k], h, memory, goesOn))
            sumColumns(volume[k], h, memory, [&](int) { return goesOn(); });
    }) && work.run(rows, steps(rows), [&](int i, int worker) {
        for (int first = 0; first < columns && !work.isCanceled(); first += width)
            sumAcrossBlock<T>([&](int k) { return volume[k][i].data() + first; }, planes,
                              std::min(width, columns - first), h, memories[static_cast<std::size_t>(worker)]);
    });
    notifyEnd(*this, complete);
}

template <class T>
void SumFilter<T>::__applyBall(PixelMatrix<T>& matrix) {
    const int h = getHalfSize();
    const int rows = matrix.getSize1();
    const int columns = matrix.getSize2();
    const int reach = std::min(h, rows - 1);
    PixelMatrix<T> result(rows, columns);
    std::vector<Total<T>> sums(static_cast<std::size_t>(columns));
    StepProgress progress(*this, static_cast<unsigned long long>(rows));
    this->notifyStarted("");
    int done = 0;
    for (bool goesOn = !this->isCanceled(); goesOn && done < rows; ++done) {
        const int i = done;
        std::fill(sums.begin(), sums.end(), Total<T>(0));
        for (int a = std::max(-reach, -i); a <= reach && i + a < rows; ++a)
            addShifted(static_cast<const T*>(matrix[i + a].data()), sums.data(), columns, reachAt(h, a, 0));
        std::transform(sums.begin(), sums.end(), result[i].data(), [](Total<T> sum) { return static_cast<T>(sum); });
        goesOn = progress.advance(1);
    }
    if (done == rows)
        matrix.swap(result);
    notifyEnd(*this, done == rows);
}

// Parts are rows of one plane.
template <class T>
void SumFilter<T>::__applyBall(VoxelMatrix<T>& volume) {
    const int h = getHalfSize();
    const int rows = volume.getSize1();
    const int columns = volume.getSize2();
    const int planes = volume.getSize3();
    const int rowReach = std::min(h, rows - 1);
    const int planeReach = std::min(h, planes - 1);
    ParallelWork work(*this, static_cast<unsigned long long>(planes));
    std::vector<std::vector<Total<T>>> sumsOf(static_cast<std::size_t>(work.workers()),
                                              std::vector<Total<T>>(static_cast<std::size_t>(columns)));
    SlidingPlanes<T> sliding(volume, planeReach, SlidingPlanes<T>::thinBatch(planes));
    const auto sumRow = [&](int i, int k, std::vector<Total<T>>& sums) {
        std::fill(sums.begin(), sums.end(), Total<T>(0));
        for (int c = std::max(-planeReach, -k); c <= planeReach && k + c < planes; ++c)
            for (int a = std::max(-rowReach, -i); a <= rowReach && i + a < rows && !work.isCanceled(); ++a) {
                const int reach = reachAt(h, a, c);
                if (reach >= 0)
                    addShifted(sliding.original(i + a, k + c), sums.data(), columns, reach);
            }
        std::transform(sums.begin(), sums.end(), sliding.row(i, k), [](Total<T> sum) { return static_cast<T>(sum); });
    };
    this->notifyStarted("");
    const bool complete = sliding.replace(0, planes, [&](int first, int last) {
        return work.run((last - first) * rows, static_cast<unsigned long long>(last - first),
                        [&](int number, int worker) {
                            sumRow(number % rows, first + number / rows, sumsOf[static_cast<std::size_t>(worker)]);
                        });
    });
    notifyEnd(*this, complete);
}

template class SumFilter<short>;
template class SumFilter<unsigned short>;
template class SumFilter<int>;
template class SumFilter<unsigned int>;
template class SumFilter<float>;
template class SumFilter<double>;
template class SumFilter<long double>;

} // namespace vorlen
