#pragma once

#include "images/volumes/voxelmatrixprocessing.h"

namespace vorlen {

/// Stretches the values of a volume linearly so that they fill a chosen range, in place: the smallest becomes the
/// minimum, the largest the maximum. A minimum above the maximum turns the values round.
///
/// Floating-point types compute with the most precise type, float in double, whose result is the same but for the last
/// digit of a float in rare cases. Integers divide the exact product and truncate it toward the minimum; no product
/// overflows.
///
/// Decisions. NaN takes no part in the range, and stays. A constant volume of integers becomes the minimum throughout;
/// one of a floating-point type becomes NaN, the quotient of two zeros. An empty volume stays as it is.
///
/// Compiled for short, unsigned short, int, unsigned int, float, double and long double.
template <class T>
class VolumeHistogramExpansion : public VoxelMatrixProcessing<T> {
public:
    VolumeHistogramExpansion() = default;
    ~VolumeHistogramExpansion() override;

    void setMinMax(T min, T max);

    void apply(VoxelMatrix<T>& volume) override;

private:
    T __max = T(255);
    T __min = T(0);
};

} // namespace vorlen
