#include "images/rasters/colormap.h"
#include "numerics/exception.h"

#include <cmath>
#include <gtest/gtest.h>

namespace vorlen {

namespace {

Colormap uniformMap(int size, unsigned char red, unsigned char green, unsigned char blue) {
    Colormap colormap(size);
    for (int i = 0; i < size; ++i) {
        colormap.getRed()[i] = red;
        colormap.getGreen()[i] = green;
        colormap.getBlue()[i] = blue;
    }
    return colormap;
}

} // namespace

TEST(Colormap, emptyMapPassesEveryTest) {
    const Colormap colormap;
    EXPECT_EQ(colormap.getSize(), 0);
    EXPECT_TRUE(colormap.isIdentity());
    EXPECT_TRUE(colormap.isGrayscale());
    EXPECT_TRUE(colormap.isRedOnly());
    EXPECT_TRUE(colormap.isGreenOnly());
    EXPECT_TRUE(colormap.isBlueOnly());
}

TEST(Colormap, grayRampTruncatesAndOnlyTheFullOneIsTheIdentity) {
    Colormap colormap(256);
    colormap.makeGrayscale();
    EXPECT_TRUE(colormap.isIdentity());
    colormap.setSize(4);
    colormap.makeGrayscale();
    EXPECT_EQ(colormap.getGreen()[1], 85);
    EXPECT_EQ(colormap.getBlue()[3], 255);
    EXPECT_FALSE(colormap.isIdentity());
    EXPECT_TRUE(colormap.isGrayscale());
    colormap.setSize(7);
    colormap.makeGrayscale();
    EXPECT_EQ(colormap.getRed()[1], 42); // 42.5
    colormap.setSize(1);
    colormap.makeGrayscale();
    EXPECT_EQ(colormap.getRed()[0], 0);
}

TEST(Colormap, convertToGrayscaleTakesTheTruncatedMean) {
    Colormap colormap = uniformMap(2, 255, 255, 254);
    colormap.convertToGrayscale();
    EXPECT_EQ(colormap.getRed()[1], 254);
    EXPECT_TRUE(colormap.isGrayscale());
}

TEST(Colormap, singleColourTestsLookAtTheTwoOtherComponents) {
    EXPECT_TRUE(uniformMap(3, 9, 0, 0).isRedOnly());
    EXPECT_TRUE(uniformMap(3, 0, 9, 0).isGreenOnly());
    EXPECT_TRUE(uniformMap(3, 0, 0, 9).isBlueOnly());
    Colormap colormap = uniformMap(3, 9, 0, 0);
    colormap.getBlue()[2] = 1;
    EXPECT_FALSE(colormap.isRedOnly());
    EXPECT_FALSE(colormap.isBlueOnly());
    EXPECT_FALSE(colormap.isGrayscale());
}

TEST(Colormap, equalityNeedsSizeAndAllEntries) {
    Colormap first = uniformMap(3, 1, 2, 3);
    Colormap second = first;
    EXPECT_TRUE(first == second);
    second.getBlue()[2] = 4;
    EXPECT_TRUE(first != second);
    EXPECT_TRUE(first != uniformMap(2, 1, 2, 3));
}

TEST(Colormap, printWritesALineForEachEntry) {
    testing::internal::CaptureStdout();
    uniformMap(2, 1, 20, 255).print("Map");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Map\n0 = 1 20 255\n1 = 1 20 255\n");
}

TEST(Colormap, flagBeginsBlackWhiteRedAndHasSixteenDifferentColours) {
    const Colormap flag = Colormap::flag();
    ASSERT_EQ(flag.getSize(), 16);
    EXPECT_EQ(flag.getRed()[1], 255);
    EXPECT_EQ(flag.getRed()[2], 255);
    EXPECT_EQ(flag.getGreen()[2], 0);
    EXPECT_EQ(flag.getBlue()[6], 127);
    for (int i = 0; i < 16; ++i)
        for (int j = 0; j < i; ++j)
            EXPECT_FALSE(flag.getRed()[i] == flag.getRed()[j] && flag.getGreen()[i] == flag.getGreen()[j] &&
                         flag.getBlue()[i] == flag.getBlue()[j])
                << i << " and " << j;
}

TEST(Colormap, cold2HotFollowsItsFourRuns) {
    const Colormap colormap = Colormap::cold2Hot(256);
    ASSERT_EQ(colormap.getSize(), 256);
    const auto entry = [&](int i) {
        return std::vector<int>{colormap.getRed()[i], colormap.getGreen()[i], colormap.getBlue()[i]};
    };
    EXPECT_EQ(entry(0), (std::vector<int>{0, 0, 255}));
    EXPECT_EQ(entry(8), (std::vector<int>{0, 127, 255})); // log(8)/log(64) is one half
    EXPECT_EQ(entry(64), (std::vector<int>{0, 255, 255}));
    EXPECT_EQ(entry(127), (std::vector<int>{0, 255, 0}));
    EXPECT_EQ(entry(128), (std::vector<int>{int(std::log(2) * 255 / std::log(65)), 255, 0}));
    EXPECT_EQ(entry(191), (std::vector<int>{255, 255, 0}));
    EXPECT_EQ(entry(255), (std::vector<int>{255, 0, 0}));
}

TEST(Colormap, cold2HotRefusesOddSizesAndStandsTheSmallest) {
    try {
        Colormap::cold2Hot(6);
        FAIL();
    } catch (const SizeError& error) {
        EXPECT_EQ(error.getWhere(), "Colormap Colormap::cold2Hot(const unsigned int)");
        EXPECT_EQ(error.getWhat(), "Colormap dimension is not a multiple of 4");
    }
    EXPECT_EQ(Colormap::cold2Hot(0).getSize(), 0);
    EXPECT_EQ(Colormap::cold2Hot(4).getBlue()[0], 255);
}

} // namespace vorlen
