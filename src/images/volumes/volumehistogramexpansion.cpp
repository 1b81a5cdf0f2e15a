#include "images/volumes/volumehistogramexpansion.h"

#include <cstdint>
#include <type_traits>

#include "images/volumes/voxelmatrix.h"

namespace vorlen {

namespace {

template <class T, class Function>
void replaceAll(VoxelMatrix<T>& volume, Function function) {
    for (int k = 0; k < volume.getSize3(); ++k)
        for (int i = 0; i < volume.getSize1(); ++i) {
            T* const values = volume[k][i].data();
            for (int j = 0; j < volume.getSize2(); ++j)
                values[j] = function(values[j]);
        }
}

template <class T>
void expandReals(VoxelMatrix<T>& volume, T low, T high, T min, T max) {
    using Wide = std::conditional_t<std::is_same_v<T, float>, double, long double>;
    const Wide first = low, span = Wide(high) - first, offset = min, range = Wide(max) - offset;
    replaceAll(volume, [=](T v) { return static_cast<T>((Wide(v) - first) * range / span + offset); });
}

// The product of two differences of 32 bits fits into 64 bits without a sign, which is kept apart.
template <class T>
void expandIntegers(VoxelMatrix<T>& volume, T low, T high, T min, T max) {
    const auto first = static_cast<std::int64_t>(low);
    const auto offset = static_cast<std::int64_t>(min);
    const auto span = static_cast<std::uint64_t>(static_cast<std::int64_t>(high) - first);
    const bool falling = max < min;
    const auto range = static_cast<std::uint64_t>(falling ? offset - static_cast<std::int64_t>(max)
                                                          : static_cast<std::int64_t>(max) - offset);
    if (span == 0) {
        volume.fill(min);
        return;
    }
    // Up to this the quotient in double truncates as the exact one: where it is no whole number, it is further below
    // the next one than double can round.
    constexpr std::uint64_t exactInDouble = std::uint64_t(1) << 53;
    if (range == 0 || span < exactInDouble / range) {
        const auto scale = static_cast<double>(range), divisor = static_cast<double>(span);
        const auto sign = static_cast<std::int64_t>(falling ? -1 : 1);
        replaceAll(volume, [=](T v) {
            const double product = static_cast<double>(static_cast<std::int64_t>(v) - first) * scale;
            return static_cast<T>(offset + sign * static_cast<std::int64_t>(product / divisor));
        });
        return;
    }
    replaceAll(volume, [=](T v) {
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
    const Vector<T> range = volume.range();
    if constexpr (std::is_integral_v<T>)
        expandIntegers(volume, range[0], range[1], __min, __max);
    else
        expandReals(volume, range[0], range[1], __min, __max);
}

template class VolumeHistogramExpansion<short>;
template class VolumeHistogramExpansion<unsigned short>;
template class VolumeHistogramExpansion<int>;
template class VolumeHistogramExpansion<unsigned int>;
template class VolumeHistogramExpansion<float>;
template class VolumeHistogramExpansion<double>;
template class VolumeHistogramExpansion<long double>;

} // namespace vorlen
