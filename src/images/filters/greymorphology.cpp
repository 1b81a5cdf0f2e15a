#include "images/filters/greymorphology.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "images/filters/parallelwork.h"
#include "images/filters/stepprogress.h"
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

// target[j] = the best of target[j] and of values[j + b] with the heights[b] taken off (or put on), for all b. A NaN is
// taken and kept when careful, and else must not be there.
template <bool dilation, bool careful, class W>
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
                    if constexpr (careful)
                        value = best != best ? best : value;
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
                bool wins = dilation ? value > target[j] : value < target[j];
                if constexpr (careful)
                    wins = wins || value != value;
                target[j] = wins ? value : target[j];
            }
    });
}

} // namespace

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
    const auto rows = static_cast<unsigned long long>(volume.getSize1());
    const auto columns = static_cast<unsigned long long>(volume.getSize2());
    ParallelWork work(*this, rows * static_cast<unsigned long long>(volume.getSize3()),
                      static_cast<unsigned int>(
                          std::min<unsigned long long>(rows * columns, std::numeric_limits<unsigned int>::max())));
    this->notifyStarted("");
    notifyEnd(*this, __isFlat() ? __applyWindow(volume, work) : __applyElement(volume, work));
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
bool GreyMorphology<T, dilation>::__applyWindow(VoxelMatrix<T>& volume, ParallelWork& work) const {
    using Window = WindowExtremum<T, dilation>;
    const int rows = volume.getSize1(), planes = volume.getSize3();
    const int rowHalf = __element.getSize1() / 2;
    const int columnHalf = __element.getSize2() / 2;
    const int planeHalf = __element.getSize3() / 2;
    const Wide<T> height = dilation ? -static_cast<Wide<T>>(__element(0, 0, 0)) : __element(0, 0, 0);
    std::vector<Window> windows(static_cast<std::size_t>(work.workers()));
    std::atomic<bool> careful = false;
    const auto goesOn = [&work](int) { return !work.isCanceled(); };
    const auto filterPlane = [&](int k, int worker) {
        Window& window = windows[static_cast<std::size_t>(worker)];
        const bool holdsNaN = Window::holdsNaN(volume[k]);
        if (holdsNaN)
            careful = true;
        window.setCareful(holdsNaN);
        if (columnHalf == 0 || window.rows(volume[k], nullptr, columnHalf, goesOn))
            if (rowHalf > 0)
                window.columns(volume[k], nullptr, rowHalf, goesOn);
    };
    const auto filterAcross = [&](int i, int worker) {
        Window& window = windows[static_cast<std::size_t>(worker)];
        window.setCareful(careful);
        if (planeHalf > 0)
            window.planes(volume, nullptr, i, planeHalf, goesOn);
        for (int k = 0; k < planes && height != Wide<T>(0); ++k)
            for (T& value : volume[k][i])
                value = narrowed<T>(static_cast<Wide<T>>(value) - height);
    };
    return work.run(planes, 0, filterPlane) &&
           work.run(rows, static_cast<unsigned long long>(rows) * static_cast<unsigned long long>(planes),
                    filterAcross);
}

// The planes under the element are kept in a ring, widened and with a margin of neutral columns; rows and planes
// outside are left out. Each plane is copied before it is replaced. Parts are rows of a plane.
template <class T, bool dilation>
bool GreyMorphology<T, dilation>::__applyElement(VoxelMatrix<T>& volume, ParallelWork& work) const {
    using W = Wide<T>;
    using Window = WindowExtremum<T, dilation>;
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
    // Working memory of the threads: a row of results and a row of the element.
    const auto workers = static_cast<std::size_t>(work.workers());
    std::vector<std::vector<W>> bests(workers, std::vector<W>(static_cast<std::size_t>(columns)));
    std::vector<std::vector<W>> elementRows(workers, std::vector<W>(static_cast<std::size_t>(numHeights)));
    const auto line = [&](int i, int k) {
        return ring.data() + stride * (static_cast<std::size_t>(k % slots) * static_cast<std::size_t>(rows) +
                                       static_cast<std::size_t>(i));
    };
    bool careful = false;
    for (int c = 0; c < __element.getSize3(); ++c)
        careful = careful || Window::holdsNaN(__element[c]);
    const auto filterRow = [&](int i, int k, std::vector<W>& best, std::vector<W>& heights) {
        std::fill(best.begin(), best.end(), outside<T, dilation>());
        for (int c = std::max(-planeHalf, -k); c <= std::min(planeHalf, planes - 1 - k); ++c)
            for (int a = std::max(-rowHalf, -i); a <= std::min(rowHalf, rows - 1 - i) && !work.isCanceled(); ++a) {
                const T* const row = __element[planeSkip + planeHalf + c][rowHalf + a].data() + columnSkip;
                std::copy_n(row, numHeights, heights.data());
                const auto combine =
                    careful ? combineRow<dilation, std::is_floating_point_v<T>, W> : combineRow<dilation, false, W>;
                combine(line(i + a, k + c), heights.data(), numHeights, best.data(), columns);
            }
        T* const target = volume[k][i].data();
        for (int j = 0; j < columns; ++j)
            target[j] = narrowed<T>(best[static_cast<std::size_t>(j)]);
    };
    int copied = 0;
    for (int k = 0; k < planes; ++k) {
        for (; copied < planes && copied <= k + planeHalf; ++copied) {
            careful = careful || Window::holdsNaN(volume[copied]);
            for (int i = 0; i < rows; ++i)
                std::copy_n(volume[copied][i].data(), columns, line(i, copied) + columnHalf);
        }
        const auto filterRowOfPlane = [&](int i, int worker) {
            const auto own = static_cast<std::size_t>(worker);
            filterRow(i, k, bests[own], elementRows[own]);
        };
        if (!work.run(rows, static_cast<unsigned long long>(rows), filterRowOfPlane))
            return false;
    }
    return true;
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
