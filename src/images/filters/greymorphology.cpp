#include "images/filters/greymorphology.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "images/filters/windowextremum.h"
#include "numerics/exception.h"
#include "numerics/widevectors.h"

namespace vorlen {

namespace {

// Holds every difference and sum of two values of T.
template <class T>
using Wide = std::conditional_t<std::is_floating_point_v<T>, T, std::conditional_t<sizeof(T) == 2, int, long long>>;

template <class T>
VORLEN_INLINED T narrowed(Wide<T> value) {
    if constexpr (std::is_floating_point_v<T>) {
        return value;
    } else {
        constexpr Wide<T> least = std::numeric_limits<T>::lowest(), greatest = std::numeric_limits<T>::max();
        return static_cast<T>(value < least ? least : value > greatest ? greatest : value);
    }
}

// What loses against every voxel, by far enough that no height of an element makes it win.
template <class T, bool dilation>
constexpr Wide<T> outside() {
    if constexpr (std::is_floating_point_v<T>)
        return dilation ? -std::numeric_limits<T>::infinity() : std::numeric_limits<T>::infinity();
    else
        return std::numeric_limits<Wide<T>>::max() / 2 * (dilation ? -1 : 1);
}

// target[j] = the best of target[j] and of values[j + b] with the heights[b] taken off (or put on), for all b.
template <bool dilation, class W>
void combineRow(const W* values, const W* heights, int numHeights, W* target, int count) {
    widevectors::run([=](auto bytes) VORLEN_INLINED_LAMBDA {
        using Pack = widevectors::Pack<W, decltype(bytes)::value>;
        using V = typename Pack::Type;
        constexpr int together = 4;
        int j = 0;
        for (; j + together * Pack::lanes <= count; j += together * Pack::lanes) {
            V best0, best1, best2, best3, value;
            widevectors::load(best0, target + j);
            widevectors::load(best1, target + j + Pack::lanes);
            widevectors::load(best2, target + j + 2 * Pack::lanes);
            widevectors::load(best3, target + j + 3 * Pack::lanes);
            for (int b = 0; b < numHeights; ++b) {
                const W height = dilation ? -heights[b] : heights[b];
                const W* const from = values + j + b;
                const auto take = [&](V& best, int pack) VORLEN_INLINED_LAMBDA {
                    widevectors::load(value, from + pack * Pack::lanes);
                    value = value - height;
                    if constexpr (dilation)
                        best = best > value ? best : value;
                    else
                        best = best < value ? best : value;
                };
                take(best0, 0);
                take(best1, 1);
                take(best2, 2);
                take(best3, 3);
            }
            widevectors::store(target + j, best0);
            widevectors::store(target + j + Pack::lanes, best1);
            widevectors::store(target + j + 2 * Pack::lanes, best2);
            widevectors::store(target + j + 3 * Pack::lanes, best3);
        }
        for (; j < count; ++j)
            for (int b = 0; b < numHeights; ++b) {
                const W value = values[j + b] - (dilation ? -heights[b] : heights[b]);
                const bool wins = dilation ? value > target[j] : value < target[j];
                target[j] = wins ? value : target[j];
            }
    });
}

} // namespace

// Rows of planes as parts of rows times columns.
template <class T, bool dilation>
class GreyMorphology<T, dilation>::Progress {
public:
    Progress(GreyMorphology& subject, const VoxelMatrix<T>& volume)
        : __subject(subject), __rowsOfAll(static_cast<unsigned long long>(volume.getSize1()) *
                                          static_cast<unsigned long long>(volume.getSize3())) {
        const auto pixels =
            static_cast<unsigned long long>(volume.getSize1()) * static_cast<unsigned long long>(volume.getSize2());
        __total = std::min<unsigned long long>(pixels, std::numeric_limits<unsigned int>::max());
    }
    void advance() {
        ++__done;
        const auto part = static_cast<long double>(__done) / static_cast<long double>(__rowsOfAll);
        __subject.notifyProgressed(static_cast<unsigned int>(part * static_cast<long double>(__total)),
                                   static_cast<unsigned int>(__total));
    }

private:
    GreyMorphology& __subject;
    unsigned long long __rowsOfAll;
    unsigned long long __total;
    unsigned long long __done = 0;
};

template <class T, bool dilation>
GreyMorphology<T, dilation>::GreyMorphology() : __element(1, 1, 1) {
    __element.setZeros();
}

template <class T, bool dilation>
void GreyMorphology<T, dilation>::setStructElt(const VoxelMatrix<T>& element) {
    const std::string where =
        dilation ? "void VoxelMatrixDilatation<T>::setStructElt(...)" : "void VoxelMatrixErosion<T>::setStructElt(...)";
    bool empty = true, even = false;
    for (int index = 1; index <= 3; ++index) {
        empty = empty && element.getSize(index) == 0;
        even = even || element.getSize(index) % 2 == 0;
    }
    if (empty)
        throw SizeError(where, "Empty structuring element");
    if (even)
        throw SizeError(where, "Structuring element with even size(s)");
    __element = element;
}

template <class T, bool dilation>
void GreyMorphology<T, dilation>::apply(VoxelMatrix<T>& volume) {
    if (volume.getSize1() == 0 || volume.getSize2() == 0 || volume.getSize3() == 0)
        return;
    Progress progress(*this, volume);
    this->notifyStarted("");
    if (__isFlat())
        __applyWindow(volume, progress);
    else
        __applyElement(volume, progress);
    this->notifyFinished("");
}

template <class T, bool dilation>
bool GreyMorphology<T, dilation>::__isFlat() const {
    const T height = __element(0, 0, 0);
    for (int c = 0; c < __element.getSize3(); ++c)
        for (int a = 0; a < __element.getSize1(); ++a) {
            const Vector<T>& row = __element[c][a];
            if (std::any_of(row.begin(), row.end(), [height](T value) { return !(value == height); }))
                return false;
        }
    return height == height;
}

template <class T, bool dilation>
void GreyMorphology<T, dilation>::__applyWindow(VoxelMatrix<T>& volume, Progress& progress) const {
    const auto silent = [](int) {};
    WindowExtremum<T, dilation> window;
    const int rowHalf = __element.getSize1() / 2;
    const int columnHalf = __element.getSize2() / 2;
    const int planeHalf = __element.getSize3() / 2;
    for (int k = 0; k < volume.getSize3(); ++k) {
        if (columnHalf > 0)
            window.rows(volume[k], nullptr, columnHalf, silent);
        if (rowHalf > 0)
            window.columns(volume[k], nullptr, rowHalf, silent);
    }
    if (planeHalf > 0)
        window.planes(volume, nullptr, planeHalf, silent);
    const Wide<T> height = dilation ? -static_cast<Wide<T>>(__element(0, 0, 0)) : __element(0, 0, 0);
    for (int k = 0; k < volume.getSize3(); ++k)
        for (int i = 0; i < volume.getSize1(); ++i) {
            if (height != Wide<T>(0))
                for (T& value : volume[k][i])
                    value = narrowed<T>(static_cast<Wide<T>>(value) - height);
            progress.advance();
        }
}

// The planes under the element are kept in a ring, widened and with a margin of neutral columns; rows and planes
// outside are left out. Each plane is copied before it is replaced.
template <class T, bool dilation>
void GreyMorphology<T, dilation>::__applyElement(VoxelMatrix<T>& volume, Progress& progress) const {
    using W = Wide<T>;
    const int rows = volume.getSize1(), columns = volume.getSize2(), planes = volume.getSize3();
    const int rowHalf = __element.getSize1() / 2;
    const int columnHalf = std::min(__element.getSize2() / 2, columns - 1);
    const int columnSkip = __element.getSize2() / 2 - columnHalf; // the element's columns that never meet the volume
    const int planeHalf = std::min(__element.getSize3() / 2, planes - 1);
    const int planeSkip = __element.getSize3() / 2 - planeHalf;
    const int numHeights = 2 * columnHalf + 1;
    const int slots = std::min(2 * planeHalf + 1, planes);
    const auto stride = static_cast<std::size_t>(columns) + 2 * static_cast<std::size_t>(columnHalf);
    std::vector<W> ring(stride * static_cast<std::size_t>(rows) * static_cast<std::size_t>(slots),
                        outside<T, dilation>());
    std::vector<W> best(static_cast<std::size_t>(columns));
    std::vector<W> heights(static_cast<std::size_t>(numHeights));
    const auto line = [&](int i, int k) {
        return ring.data() + stride * (static_cast<std::size_t>(k % slots) * static_cast<std::size_t>(rows) +
                                       static_cast<std::size_t>(i));
    };
    int copied = 0;
    for (int k = 0; k < planes; ++k) {
        for (; copied < planes && copied <= k + planeHalf; ++copied)
            for (int i = 0; i < rows; ++i)
                std::copy_n(volume[copied][i].data(), columns, line(i, copied) + columnHalf);
        for (int i = 0; i < rows; ++i) {
            std::fill(best.begin(), best.end(), outside<T, dilation>());
            for (int c = std::max(-planeHalf, -k); c <= std::min(planeHalf, planes - 1 - k); ++c)
                for (int a = std::max(-rowHalf, -i); a <= std::min(rowHalf, rows - 1 - i); ++a) {
                    const T* const row = __element[planeSkip + planeHalf + c][rowHalf + a].data() + columnSkip;
                    std::copy_n(row, numHeights, heights.data());
                    combineRow<dilation>(static_cast<const W*>(line(i + a, k + c)),
                                         static_cast<const W*>(heights.data()), numHeights, best.data(), columns);
                }
            T* const target = volume[k][i].data();
            for (int j = 0; j < columns; ++j)
                target[j] = narrowed<T>(best[static_cast<std::size_t>(j)]);
            progress.advance();
        }
    }
}

template class GreyMorphology<short, false>;
template class GreyMorphology<unsigned short, false>;
template class GreyMorphology<int, false>;
template class GreyMorphology<unsigned int, false>;
template class GreyMorphology<float, false>;
template class GreyMorphology<double, false>;
template class GreyMorphology<long double, false>;
template class GreyMorphology<short, true>;
template class GreyMorphology<unsigned short, true>;
template class GreyMorphology<int, true>;
template class GreyMorphology<unsigned int, true>;
template class GreyMorphology<float, true>;
template class GreyMorphology<double, true>;
template class GreyMorphology<long double, true>;

} // namespace vorlen
