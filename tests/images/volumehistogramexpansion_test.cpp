#include "images/volumes/volumehistogramexpansion.h"

#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "images/volumes/voxelmatrix.h"
#include "support/volumes.h"

namespace vorlen {

TEST(VolumeHistogramExpansion, stretchesRealsLinearly) {
    VoxelMatrix<float> volume = volumeOf<float>(2, 2, 2, [](int i, int j, int k) { return 10 + 2 * i + j + 4 * k; });
    VolumeHistogramExpansion<float> expansion;
    expansion.apply(volume); // 10 to 17 becomes 0 to 255
    EXPECT_FLOAT_EQ(volume(0, 1, 0), 255.0f / 7.0f);
    EXPECT_EQ(volume.range()[0], 0.0f);
    EXPECT_EQ(volume.range()[1], 255.0f);
    expansion.setMinMax(1.0f, -1.0f);
    expansion.apply(volume);
    EXPECT_EQ(volume(0, 0, 0), 1.0f);
    EXPECT_EQ(volume(1, 1, 1), -1.0f);
    EXPECT_FLOAT_EQ(volume(1, 1, 0), 1.0f - 6.0f / 7.0f);
}

template <class T>
class VolumeHistogramExpansionOf : public testing::Test {};
using Integers = testing::Types<short, unsigned short, int, unsigned int>;
TYPED_TEST_SUITE(VolumeHistogramExpansionOf, Integers);

// Against quotients of 128-bit integers, on small ranges and on all that T has, rising and falling.
TYPED_TEST(VolumeHistogramExpansionOf, truncatesTheExactQuotient) {
    using T = TypeParam;
    using Limits = std::numeric_limits<T>;
    std::mt19937 engine(3);
    const long long lowest = Limits::min(), highest = Limits::max();
    for (const auto& [low, high] : {std::pair(0LL, 7LL), std::pair(3LL, 300LL), std::pair(lowest, highest)})
        for (const auto& [min, max] : {std::pair(0LL, 255LL), std::pair(200LL, 13LL), std::pair(lowest, highest),
                                       std::pair(highest, lowest), std::pair(9LL, 9LL)}) {
            std::uniform_int_distribution<long long> value(low, high);
            VoxelMatrix<T> volume = volumeOf<T>(9, 8, 7, [&](int, int, int) { return value(engine); });
            volume(0, 0, 0) = static_cast<T>(low);
            volume(8, 7, 6) = static_cast<T>(high);
            const VoxelMatrix<T> before = volume;
            VolumeHistogramExpansion<T> expansion;
            expansion.setMinMax(static_cast<T>(min), static_cast<T>(max));
            expansion.apply(volume);
            for (int k = 0; k < 7; ++k)
                for (int i = 0; i < 9; ++i)
                    for (int j = 0; j < 8; ++j) {
                        const __int128 product = static_cast<__int128>(before(i, j, k) - low) * (max - min);
                        ASSERT_EQ(static_cast<long long>(volume(i, j, k)),
                                  static_cast<long long>(product / (high - low)) + min)
                            << low << " " << high << " " << min << " " << max;
                    }
        }
}

TEST(VolumeHistogramExpansion, leavesNaNOutOfTheRange) {
    auto volume = numberedVolume<float>(2, 3, 2);
    volume(0, 0, 0) = volume(1, 2, 1) = std::numeric_limits<float>::quiet_NaN(); // 0 and 112 go; 1 and 111 are left
    VolumeHistogramExpansion<float>().apply(volume);
    EXPECT_EQ(volume(0, 1, 0), 0.0f);
    EXPECT_EQ(volume(1, 1, 1), 255.0f);
    EXPECT_TRUE(std::isnan(volume(0, 0, 0)));
}

TEST(VolumeHistogramExpansion, makesConstantsTheMinimumOrNotANumber) {
    VoxelMatrix<int> integers(2, 3, 4);
    integers.fill(77);
    VolumeHistogramExpansion<int> expansion;
    expansion.setMinMax(-5, 9);
    expansion.apply(integers);
    EXPECT_EQ(integers.range()[0], -5);
    EXPECT_EQ(integers.range()[1], -5);
    VoxelMatrix<double> reals(2, 3, 4);
    reals.fill(77.0);
    VolumeHistogramExpansion<double>().apply(reals);
    EXPECT_TRUE(std::isnan(reals(1, 2, 3)));
    VoxelMatrix<int> none(2, 0, 4);
    expansion.apply(none);
    EXPECT_EQ(none.getSize3(), 4);
}

} // namespace vorlen
