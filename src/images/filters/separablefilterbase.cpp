#include "images/filters/separablefilterbase.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "images/filters/parallelwork.h"
#include "images/filters/stepprogress.h"
#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "numerics/rowkernels.h"
#include "numerics/widevectors.h"

namespace vorlen {

namespace {

void checkMask(bool sameSize) {
    if (!sameSize)
        throw SizeError("Vector<T> Vector<T>::corr(const Vector&, const Vector&) const",
                        "The mask is not the same length as this vector");
}

// The weights of the samples from i - before to i + after in element i of a line, as far as they can lie in a line of
// the length: a convolution runs through the kernel backwards.
template <class T>
struct Taps {
    Taps(const Vector<T>& kernel, int length) {
        const int size = kernel.getSize();
        const int centre = size / 2;
        const int reach = std::max(length - 1, 0);
        before = std::min(centre, reach);
        after = std::min(std::max(size - 1 - centre, 0), reach);
        for (int shift = -before; size > 0 && shift <= after; ++shift)
            weights.push_back(kernel[size - 1 - (shift + centre)]);
    }
    const T* centre() const { return weights.data() + before; }
    int count() const { return before + 1 + after; }
    int ringSlots() const { return before + 1; }

    int before;
    int after;
    std::vector<T> weights; ///< empty for an empty kernel
};

// total += the samples at one distance on both sides, l and r, each where its mask is not 0; a single one takes the
// weights of both.
template <class T>
void addPair(T* __restrict total, const T* l, const T* lMask, const T* r, const T* rMask, T lWeight, T rWeight,
             int count) {
    const T both = lWeight + rWeight;
    widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
        for (int c = 0; c < count; ++c) {
            const bool left = lMask[c] != T(0);
            const bool right = rMask[c] != T(0);
            const T fromLeft = l[c] * (right ? lWeight : both);
            const T fromRight = r[c] * (left ? rWeight : both);
            total[c] += (left ? fromLeft : T(0)) + (right ? fromRight : T(0));
        }
    });
}

// Filters lines of one axis in place. A line is given as pointers to its elements' rows: for the axes across rows,
// line(i) is the i-th row's part of a block of columns; for a row itself, see along().
template <class T>
class Convolver {
public:
    Convolver(const Vector<T>& kernel, int length) : __taps(kernel, length), __length(length) {}

    bool isIdentity() const { return __taps.weights.empty(); }

    // One contiguous line; mask may be null. The line is copied between zeros, and then every tap is a shifted view.
    void along(T* line, const T* mask) {
        const auto width = static_cast<std::size_t>(__length);
        const auto before = static_cast<std::size_t>(__taps.before);
        const auto after = static_cast<std::size_t>(__taps.after);
        __samples.assign(before + width + after, T(0));
        std::copy_n(line, __length, __samples.data() + before);
        if (mask != nullptr) {
            __maskSamples.assign(before + width + after, T(0));
            std::copy_n(mask, __length, __maskSamples.data() + before);
        }
        __pointers.resize(static_cast<std::size_t>(__taps.count()));
        for (std::size_t q = 0; q < __pointers.size(); ++q)
            __pointers[q] = __samples.data() + q;
        __maskPointers.resize(mask != nullptr ? __pointers.size() : 0);
        for (std::size_t q = 0; q < __maskPointers.size(); ++q)
            __maskPointers[q] = __maskSamples.data() + q;
        __combine(line, 0, __taps.count(), __length);
    }

    // Many lines side by side: line(i) gives the elements i of all of them, count in number, and mask(i) those of the
    // mask, null without one. The lines at i and before it are kept in a ring, since they have been replaced.
    template <class Line, class Mask>
    void across(Line line, Mask mask, int count) {
        const auto width = static_cast<std::size_t>(count);
        const int slots = __taps.ringSlots();
        if (__samples.size() < width * static_cast<std::size_t>(slots))
            __samples.resize(width * static_cast<std::size_t>(slots));
        const bool masked = mask(0) != nullptr;
        if (masked)
            __maskSamples.assign(width, T(0)); // the mask beyond the ends
        __pointers.resize(static_cast<std::size_t>(__taps.count()));
        __maskPointers.resize(masked ? __pointers.size() : 0);
        for (int i = 0; i < __length; ++i) {
            std::copy_n(line(i), count, __ring(i % slots, width));
            const int first = std::max(0, __taps.before - i);
            const int last = std::min(__taps.count(), __taps.before + __length - i);
            for (int q = 0; q < __taps.count(); ++q) {
                const int p = i + q - __taps.before;
                const bool inside = q >= first && q < last;
                const auto at = static_cast<std::size_t>(q);
                __pointers[at] = !inside ? __ring(0, width) : p > i ? line(p) : __ring(p % slots, width);
                if (masked)
                    __maskPointers[at] = inside ? mask(p) : __maskSamples.data();
            }
            __combine(line(i), first, last, count);
        }
    }

    // As many columns as keep the ring in the second-level cache.
    int blockWidth() const {
        constexpr long long cacheBytes = 160 * 1024;
        return static_cast<int>(std::clamp<long long>(
            cacheBytes / (static_cast<long long>(__taps.count()) * static_cast<long long>(sizeof(T))), 64, 1024));
    }

private:
    T* __ring(int slot, std::size_t width) { return __samples.data() + width * static_cast<std::size_t>(slot); }

    // Taps first to last - 1 of __pointers into target. Masked taps outside have a mask of zeros.
    void __combine(T* target, int first, int last, int count) {
        if (__maskPointers.empty()) {
            std::fill_n(target, count, T(0));
            rowkernels::addRows(target, __taps.weights.data() + first, __pointers.data() + first, last - first, 0,
                                count);
            return;
        }
        const int centre = __taps.before;
        const T* const samples = __pointers[static_cast<std::size_t>(centre)];
        const T* const mask = __maskPointers[static_cast<std::size_t>(centre)];
        const T* const weights = __taps.centre();
        __totals.resize(static_cast<std::size_t>(count));
        for (int c = 0; c < count; ++c)
            __totals[static_cast<std::size_t>(c)] = samples[c] * weights[0];
        for (int d = 1; d <= __taps.after; ++d) {
            const auto l = static_cast<std::size_t>(centre - d), r = static_cast<std::size_t>(centre + d);
            addPair<T>(__totals.data(), __pointers[l], __maskPointers[l], __pointers[r], __maskPointers[r], weights[-d],
                       weights[d], count);
        }
        for (int c = 0; c < count; ++c)
            target[c] = mask[c] != T(0) ? __totals[static_cast<std::size_t>(c)] : samples[c];
    }

    Taps<T> __taps;
    int __length;
    std::vector<T> __samples;
    std::vector<T> __maskSamples;
    std::vector<T> __totals;
    std::vector<T*> __pointers;
    std::vector<const T*> __maskPointers;
};

// report hears a number of lines done, and tells whether to go on; false when it did not.
template <class T, class Report>
bool filterRows(PixelMatrix<T>& matrix, const PixelMatrix<T>* mask, Convolver<T>& convolver, Report report) {
    for (int i = 0; i < matrix.getSize1(); ++i) {
        if (!convolver.isIdentity())
            convolver.along(matrix[i].data(), mask != nullptr ? (*mask)[i].data() : nullptr);
        if (!report(1))
            return false;
    }
    return true;
}

// line(i) and mask(i) give whole rows here; mask(i) may be null.
template <class T, class Line, class Mask, class Report>
bool filterAcross(Line line, Mask mask, int columns, Convolver<T>& convolver, Report report) {
    const int width = convolver.blockWidth();
    for (int first = 0; first < columns; first += width) {
        const int count = std::min(width, columns - first);
        if (!convolver.isIdentity())
            convolver.across([&](int i) { return line(i) + first; },
                             [&](int i) -> const T* { return mask(i) != nullptr ? mask(i) + first : nullptr; }, count);
        if (!report(count))
            return false;
    }
    return true;
}

template <class T, class Report>
bool filterColumns(PixelMatrix<T>& matrix, const PixelMatrix<T>* mask, Convolver<T>& convolver, Report report) {
    return filterAcross<T>([&](int i) { return matrix[i].data(); },
                           [&](int i) -> const T* { return mask != nullptr ? (*mask)[i].data() : nullptr; },
                           matrix.getSize2(), convolver, report);
}

// One for each axis of a volume.
template <class T>
struct Convolvers {
    Convolver<T> alongRows, alongColumns, alongPlanes;
};

} // namespace

template <class T>
void SeparableFilterBase<T>::unsetMask() {
    MaskPixelMatrixProcessing<T>::unsetMask();
    MaskVoxelMatrixProcessing<T>::unsetMask();
}

template <class T>
void SeparableFilterBase<T>::apply(PixelMatrix<T>& matrix) {
    if (MaskPixelMatrixProcessing<T>::hasMask())
        maskedApply(matrix);
    else
        __apply(matrix, nullptr);
}

template <class T>
void SeparableFilterBase<T>::apply(VoxelMatrix<T>& volume) {
    if (MaskVoxelMatrixProcessing<T>::hasMask())
        maskedApply(volume);
    else
        __apply(volume, nullptr);
}

template <class T>
Matrix<T> SeparableFilterBase<T>::kernel2D() const {
    return __kernel1.outerProduct(__kernel2);
}

template <class T>
void SeparableFilterBase<T>::setDivideBy(const T& factor) {
    __factor = factor;
    __divide = true;
}

template <class T>
void SeparableFilterBase<T>::setMultiplyBy(const T& factor) {
    __factor = factor;
    __divide = false;
}

template <class T>
void SeparableFilterBase<T>::maskedApply(PixelMatrix<T>& matrix) {
    const PixelMatrix<T>* const mask = MaskPixelMatrixProcessing<T>::getMask();
    checkMask(mask->getSize() == matrix.getSize());
    __apply(matrix, mask);
}

template <class T>
void SeparableFilterBase<T>::maskedApply(VoxelMatrix<T>& volume) {
    const VoxelMatrix<T>* const mask = MaskVoxelMatrixProcessing<T>::getMask();
    checkMask(mask->sameSizeAs(volume));
    __apply(volume, mask);
}

template <class T>
void SeparableFilterBase<T>::__apply(PixelMatrix<T>& matrix, const PixelMatrix<T>* mask) {
    const int rows = matrix.getSize1();
    const int columns = matrix.getSize2();
    if (rows == 0 || columns == 0)
        return;
    Convolver<T> alongRows(__kernel2, columns);
    Convolver<T> alongColumns(__kernel1, rows);
    StepProgress progress(*this, static_cast<unsigned long long>(rows) + static_cast<unsigned long long>(columns));
    const auto report = [&progress](int lines) { return progress.advance(static_cast<unsigned long long>(lines)); };
    this->notifyStarted("");
    const bool complete =
        filterRows(matrix, mask, alongRows, report) && filterColumns(matrix, mask, alongColumns, report);
    if (complete)
        __scale(matrix);
    notifyEnd(*this, complete);
}

template <class T>
void SeparableFilterBase<T>::__apply(VoxelMatrix<T>& volume, const VoxelMatrix<T>* mask) {
    const int rows = volume.getSize1();
    const int columns = volume.getSize2();
    const int planes = volume.getSize3();
    if (rows == 0 || columns == 0 || planes == 0)
        return;
    const auto lines = [](int a, int b) {
        return static_cast<unsigned long long>(a) * static_cast<unsigned long long>(b);
    };
    ParallelWork work(*this, lines(rows, columns) + lines(rows, planes) + lines(columns, planes));
    std::vector<Convolvers<T>> convolvers(static_cast<std::size_t>(work.workers()),
                                          Convolvers<T>{Convolver<T>(__kernel2, columns), Convolver<T>(__kernel1, rows),
                                                        Convolver<T>(__kernel3, planes)});
    const auto goesOn = [&work](int) { return !work.isCanceled(); };
    const auto filterPlane = [&](int k, int worker) {
        Convolvers<T>& own = convolvers[static_cast<std::size_t>(worker)];
        const PixelMatrix<T>* const planeMask = mask != nullptr ? &(*mask)[k] : nullptr;
        if (filterRows(volume[k], planeMask, own.alongRows, goesOn))
            filterColumns(volume[k], planeMask, own.alongColumns, goesOn);
    };
    const auto filterAndScale = [&](int i, int worker) {
        filterAcross<T>([&](int k) { return volume[k][i].data(); },
                        [&](int k) -> const T* { return mask != nullptr ? (*mask)[k][i].data() : nullptr; }, columns,
                        convolvers[static_cast<std::size_t>(worker)].alongPlanes, goesOn);
        for (int k = 0; k < planes; ++k)
            __scale(volume[k][i]);
    };
    this->notifyStarted("");
    const bool complete = work.run(planes, lines(rows, planes) + lines(columns, planes), filterPlane) &&
                          work.run(rows, lines(rows, columns), filterAndScale);
    notifyEnd(*this, complete);
}

template <class T>
void SeparableFilterBase<T>::__scale(PixelMatrix<T>& matrix) const {
    for (int i = 0; i < matrix.getSize1(); ++i)
        __scale(matrix[i]);
}

template <class T>
void SeparableFilterBase<T>::__scale(Vector<T>& row) const {
    if (__factor == T(1))
        return;
    T* const values = row.data();
    const int columns = row.getSize();
    if (__divide)
        for (int j = 0; j < columns; ++j)
            values[j] /= __factor;
    else
        for (int j = 0; j < columns; ++j)
            values[j] *= __factor;
}

template class SeparableFilterBase<float>;
template class SeparableFilterBase<double>;
template class SeparableFilterBase<long double>;

} // namespace vorlen
