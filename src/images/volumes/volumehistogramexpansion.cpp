#include "images/volumes/volumehistogramexpansion.h"

#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

#include "images/filters/parallelwork.h"
#include "images/filters/stepprogress.h"
#include "images/volumes/voxelmatrix.h"

namespace vorlen {

namespace {

template <class T, class Function>
bool replaceAll(VoxelMatrix<T>& volume, ParallelWork& work, Function function) {
    return work.run(volume.getSize3(), static_cast<unsigned long long>(volume.getSize3()), [&](int k, int) {
        for (int i = 0; i < volume.getSize1(); ++i) {
            T* const values = volume[k][i].data();
            for (int j = 0; j < volume.getSize2(); ++j)
                values[j] = function(values[j]);
        }
    });
}

/// As VoxelMatrix<T>::range(): NaN only where there is nothing else.
template <class T>
Vector<T> rangeOf(const VoxelMatrix<T>& volume, ParallelWork& work) {
    Vector<T> none(2);
    none.fill(std::numeric_limits<T>::quiet_NaN()); // 0 of integers
    bool first = true;
    return work.reduce(
        volume.getSize3(), none, [&](int k, int) { return volume[k].range(); },
        [&first](Vector<T> range, const Vector<T>& next) {
            if (std::exchange(first, false) || range[0] != range[0])
                return next;
            if (next[0] < range[0])
                range[0] = next[0];
            if (next[1] > range[1])
                range[1] = next[1];
            return range;
        });
}

template <class T>
bool expandReals(VoxelMatrix<T>& volume, ParallelWork& work, T low, T high, T min, T max) {
    using Wide = std::conditional_t<std::is_same_v<T, float>, double, long double>;
    const Wide first = low, span = Wide(high) - first, offset = min, range = Wide(max) - offset;
    return replaceAll(volume, work, [=](T v) { return static_cast<T>((Wide(v) - first) * range / span + offset); });
}

// The product of two differences of 32 bits fits into 64 bits without a sign, which is kept apart.
template <class T>
bool expandIntegers(VoxelMatrix<T>& volume, ParallelWork& work, T low, T high, T min, T max) {
    const auto first = static_cast<std::int64_t>(low);
    const auto offset = static_cast<std::int64_t>(min);
    const auto span = static_cast<std::uint64_t>(static_cast<std::int64_t>(high) - first);
    const bool falling = max < min;
    const auto range = static_cast<std::uint64_t>(falling ? offset - static_cast<std::int64_t>(max)
                                                          : static_cast<std::int64_t>(max) - offset);
    if (span == 0)
        return replaceAll(volume, work, [=](T) { return min; });
    // Up to this the quotient in double truncates as the exact one: where it is no whole number, it is further below
    // the next one than double can round.
    constexpr std::uint64_t exactInDouble = std::uint64_t(1) << 53;
    if (range == 0 || span < exactInDouble / range) {
        const auto scale = static_cast<double>(range), divisor = static_cast<double>(span);
        const auto sign = static_cast<std::int64_t>(falling ? -1 : 1);
        return replaceAll(volume, work, [=](T v) {
            const double product = static_cast<double>(static_cast<std::int64_t>(v) - first) * scale;
            return static_cast<T>(offset + sign * static_cast<std::int64_t>(product / divisor));
        });
    }
    return replaceAll(volume, work, [=](T v) {
        const auto part =
            static_cast<std::int64_t>(static_cast<std::uint64_t>(static_cast<std::int64_t>(v) - first) * range / span);
        return static_cast<T>(falling ? offset - part : offset + part);
    });
}

} // namespace

template <class T>
VolumeHistogramExpansion<T>::~VolumeHistogramExpansion() = default;

template <class T>
void VolumeHistogramExpansion<T>::setMinMax(T min, T max) {
    __min = min;
    __max = max;
}

template <class T>
void VolumeHistogramExpansion<T>::apply(VoxelMatrix<T>& volume) {
    if (volume.getSize1() == 0 || volume.getSize2() == 0 || volume.getSize3() == 0)
        return;
    ParallelWork work(*this, static_cast<unsigned long long>(volume.getSize3()));
    this->notifyStarted("");
    const Vector<T> range = rangeOf(volume, work);
    bool complete = !work.isCanceled();
    if constexpr (std::is_integral_v<T>)
        complete = complete && expandIntegers(volume, work, range[0], range[1], __min, __max);
    else
        complete = complete && expandReals(volume, work, range[0], range[1], __min, __max);
    notifyEnd(*this, complete);
}

template class VolumeHistogramExpansion<short>;
template class VolumeHistogramExpansion<unsigned short>;
template class VolumeHistogramExpansion<int>;
template class VolumeHistogramExpansion<unsigned int>;
template class VolumeHistogramExpansion<float>;
template class VolumeHistogramExpansion<double>;
template class VolumeHistogramExpansion<long double>;

} // namespace vorlen
