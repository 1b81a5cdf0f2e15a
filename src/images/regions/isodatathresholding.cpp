#include "images/regions/isodatathresholding.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "images/filters/parallelwork.h"
#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

// Bins of one class: how many elements they count, and the sum of their indexes.
struct BinClass {
    std::uint64_t count = 0;
    std::uint64_t sum = 0;

    void add(unsigned int bin, unsigned int elements) {
        count += elements;
        sum += static_cast<std::uint64_t>(bin) * elements;
    }
    void remove(unsigned int bin, unsigned int elements) {
        count -= elements;
        sum -= static_cast<std::uint64_t>(bin) * elements;
    }
    long double mean() const { return static_cast<long double>(sum) / static_cast<long double>(count); }
};

} // namespace

template <class T>
IsodataThresholding<T>::IsodataThresholding() : __first(std::is_floating_point_v<T> ? T(-0.5) : T(0)) {
}

template <class T>
IsodataThresholding<T>::~IsodataThresholding() = default;

template <class T>
void IsodataThresholding<T>::setBins(const T& first, const T& width, unsigned int bins) {
    __first = first;
    __width = width;
    __bins = bins;
}

template <class T>
unsigned int IsodataThresholding<T>::computeThreshold(const Vector<unsigned int>& histogram) const {
    const unsigned int* const counts = histogram.data();
    const auto bins = static_cast<unsigned int>(histogram.getSize());
    unsigned int first = 0;
    while (first < bins && counts[first] == 0)
        ++first;
    if (first == bins)
        throw ValueError("unsigned int IsodataThresholding<T>::computeThreshold(const Vectorui&) const",
                         "The histogram counts nothing");
    unsigned int last = bins - 1;
    while (counts[last] == 0)
        --last;
    if (first == last)
        return first;

    unsigned int threshold = std::max((first + last) / 2, first + 1);
    BinClass low, high;
    for (unsigned int bin = first; bin <= last; ++bin)
        (bin < threshold ? low : high).add(bin, counts[bin]);
    // The thresholds rise or fall throughout, so there are fewer rounds than bins.
    for (unsigned int round = first; round < last; ++round) {
        const auto middle = static_cast<unsigned int>((low.mean() + high.mean()) * 0.5L);
        const unsigned int next = std::clamp(middle, first + 1, last);
        if (next == threshold)
            break;
        for (; threshold < next; ++threshold) {
            low.add(threshold, counts[threshold]);
            high.remove(threshold, counts[threshold]);
        }
        for (; threshold > next; --threshold) {
            high.add(threshold - 1, counts[threshold - 1]);
            low.remove(threshold - 1, counts[threshold - 1]);
        }
    }
    return threshold;
}

template <class T>
T IsodataThresholding<T>::__edge(const Vector<unsigned int>& histogram) const {
    // Where integers cannot overflow.
    using Wide = std::conditional_t<std::is_floating_point_v<T>, T, long long>;
    const auto bin = static_cast<Wide>(computeThreshold(histogram));
    return static_cast<T>(static_cast<Wide>(__first) + bin * static_cast<Wide>(__width));
}

template <class T>
T IsodataThresholding<T>::computeThreshold(const PixelMatrix<T>& matrix) const {
    return __edge(matrix.histogram(__first, __width, __bins));
}

template <class T>
T IsodataThresholding<T>::computeThreshold(const VoxelMatrix<T>& volume) const {
    return __edge(volume.histogram(__first, __width, __bins));
}

template <class T>
void IsodataThresholding<T>::apply(PixelMatrix<T>& matrix) {
    this->setThreshold(computeThreshold(matrix));
    Thresholding<T>::apply(matrix);
}

template <class T>
void IsodataThresholding<T>::apply(VoxelMatrix<T>& volume) {
    ParallelWork work(*this, 1);
    const auto counts = std::make_unique<Vector<unsigned int>[]>(static_cast<std::size_t>(work.workers()));
    const bool complete = work.run(volume.getSize3(), 0, [&](int k, int worker) {
        Vector<unsigned int>& own = counts[static_cast<std::size_t>(worker)];
        const Vector<unsigned int> plane = volume[k].histogram(__first, __width, __bins);
        if (own.getSize() == 0)
            own = plane;
        else
            own += plane;
    });
    if (complete) {
        Vector<unsigned int> all(__bins);
        all.setZeros();
        for (int worker = 0; worker < work.workers(); ++worker)
            if (const Vector<unsigned int>& own = counts[static_cast<std::size_t>(worker)]; own.getSize() > 0)
                all += own;
        this->setThreshold(__edge(all));
    }
    Thresholding<T>::apply(volume); // which tells the monitors of a run that is cancelled, too
}

template class IsodataThresholding<int>;
template class IsodataThresholding<float>;
template class IsodataThresholding<double>;
template class IsodataThresholding<long double>;

} // namespace vorlen
