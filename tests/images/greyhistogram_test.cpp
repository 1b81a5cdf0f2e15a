#include "images/rasters/greyhistogram.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "images/rasters/image.h"

namespace vorlen {

TEST(GreyHistogram, countsWhatIsANumberBetweenTheLeastAndTheGreatest) {
    Image words(64, 64, 16);
    for (int i = 0; i < 64 * 64; ++i) {
        const auto value = std::uint16_t(i < 10 ? 500 : i < 20 ? 60500 : 30500); // the middle of the range
        std::memcpy(words.getData() + 2 * i, &value, 2);
    }
    const GreyHistogram of16 = GreyHistogram::of(words);
    EXPECT_EQ(of16.least, 500);
    EXPECT_EQ(of16.greatest, 60500);
    EXPECT_EQ(of16.counts.front(), 10u);
    EXPECT_EQ(of16.counts.back(), 10u);
    EXPECT_EQ(of16.counts[128], 64u * 64 - 20);
    EXPECT_NEAR(of16.valueOf(128), 30500, 60000.0 / 256);

    Image reals;
    reals.initReal(32, 2);
    for (int i = 0; i < 64; ++i) {
        const float value = i == 3    ? std::numeric_limits<float>::quiet_NaN()
                            : i == 40 ? std::numeric_limits<float>::infinity()
                                      : float(i) - 20;
        std::memcpy(reals.getData() + 4 * i, &value, 4);
    }
    const GreyHistogram ofReals = GreyHistogram::of(reals);
    EXPECT_EQ(ofReals.numLeftOut, 2u);
    EXPECT_EQ(ofReals.numSamples, 62u);
    EXPECT_EQ(ofReals.least, -20);
    EXPECT_EQ(ofReals.greatest, 43);

    // Bytes have a bin each, whatever occurs; a blank image of words is in one bin.
    Image colours(2, 1, 32);
    const unsigned char bytes[] = {1, 2, 3, 255, 1, 2, 200, 255};
    std::memcpy(colours.getData(), bytes, 8);
    const GreyHistogram ofColours = GreyHistogram::of(colours);
    EXPECT_EQ(ofColours.numSamples, 6u); // without the opacity
    EXPECT_EQ(ofColours.counts[2], 2u);
    EXPECT_EQ(ofColours.counts[200], 1u);
    EXPECT_EQ(ofColours.valueOf(200), 200);
    Image blank(8, 8, 16);
    blank.clear();
    EXPECT_EQ(GreyHistogram::of(blank).numSamples, 64u);
    EXPECT_TRUE(GreyHistogram::of(Image()).isEmpty());
}

} // namespace vorlen
