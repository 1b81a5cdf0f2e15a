#include "images/filters/meanfilter.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "images/rasters/colormap.h"
#include "support/testimages.h"

namespace vorlen {

namespace {

Image randomImage(int width, int height, int depth, unsigned int seed) {
    Image image(width, height, depth);
    std::mt19937 engine(seed);
    for (std::size_t k = 0; k < image.dataLength(); ++k)
        image.getData()[k] = static_cast<unsigned char>(engine() % 4 == 0 ? 255 : engine());
    return image;
}

int valueAt(const Image& image, int i, int j, int channel) {
    if (image.getDepth() == 16) {
        std::uint16_t word;
        std::memcpy(&word, image.getPixels()[i] + 2 * j, 2);
        return word;
    }
    return image.getPixels()[i][j * image.bytesPerPixel() + channel];
}

// Mean by definition: the window where it fits along an axis, else the element in its place.
int meanAt(const Image& image, int i, int j, int channel, long long h) {
    const bool wholeColumn = i >= h && i < image.getHeight() - h, wholeRow = j >= h && j < image.getWidth() - h;
    const long long a = wholeColumn ? h : 0, b = wholeRow ? h : 0;
    long long sum = 0;
    for (long long p = -a; p <= a; ++p)
        for (long long q = -b; q <= b; ++q)
            sum += valueAt(image, static_cast<int>(i + p), static_cast<int>(j + q), channel);
    return static_cast<int>(sum / ((2 * a + 1) * (2 * b + 1)));
}

void expectMeans(const Image& image, int h, bool optimization) {
    MeanFilter filter;
    filter.setHalfSize(h);
    filter.setOptimization(optimization);
    Image filtered;
    filter.apply(filtered, image);
    ASSERT_EQ(filtered.getDepth(), image.getDepth());
    const int channels = image.getDepth() == 16 ? 1 : image.bytesPerPixel();
    for (int i = 0; i < image.getHeight(); ++i)
        for (int j = 0; j < image.getWidth(); ++j)
            for (int channel = 0; channel < channels; ++channel)
                ASSERT_EQ(valueAt(filtered, i, j, channel), meanAt(image, i, j, channel, h))
                    << image.getDepth() << " " << h << " " << i << " " << j << " " << channel;
}

} // namespace

// Windows below, at and above the sides of the image, whose digits call for every kind of step.
TEST(MeanFilter, equalsTheTruncatedMeanAtEveryDepth) {
    for (const int depth : {8, 16, 24, 32})
        for (const auto& [width, height] : {std::pair(1, 1), std::pair(23, 9), std::pair(9, 23), std::pair(40, 41)})
            for (const int h : {0, 1, 2, 3, 4, 6, 11, 20, std::numeric_limits<int>::max()}) {
                expectMeans(randomImage(width, height, depth, 5), h, true);
                if (depth == 8)
                    expectMeans(randomImage(width, height, depth, 5), h, false);
            }
}

// The sums of these windows need more than 16 and more than 32 bits; a constant comes out as itself.
TEST(MeanFilter, keepsAWhiteImageWhiteUnderLargeWindows) {
    MeanFilter filter;
    for (const auto& [side, depth, h] : {std::tuple(700, 8, 300), std::tuple(300, 16, 140)}) {
        Image image = TestImages::uniform(side, side, depth, 255);
        const Image before = image;
        filter.setHalfSize(h);
        filter.apply(image);
        EXPECT_TRUE(TestImages::samePixels(image, before)) << depth << " " << h;
    }
}

// A mean that is a whole number must not be lost by rounding, whatever the window.
TEST(MeanFilter, divisionIsExactForAllWindowsOfBytes) {
    for (int h = 1; h <= 60; ++h)
        for (const int value : {1, 254}) {
            const int side = 2 * h + 1;
            Image image = TestImages::uniform(side, side, 8, static_cast<unsigned char>(value));
            MeanFilter filter;
            filter.setHalfSize(h);
            filter.apply(image);
            ASSERT_EQ(image.getPixels()[h][h], value) << h;
            // One less in the sum: the mean is truncated to the number before.
            image = TestImages::uniform(side, side, 8, static_cast<unsigned char>(value));
            --image.getPixels()[0][0];
            filter.apply(image);
            ASSERT_EQ(image.getPixels()[h][h], value - 1) << h;
        }
}

TEST(MeanFilter, turnsIndexedImagesPlain) {
    Image image = TestImages::uniform(5, 4, 8, 100);
    image.setColormap(TestImages::colors());
    MeanFilter().apply(image);
    EXPECT_EQ(image.getDepth(), 24);
    EXPECT_FALSE(image.isIndexed());
    EXPECT_EQ(image.getPixels()[2][6], 100);
    EXPECT_EQ(image.getPixels()[2][7], 155);
    EXPECT_EQ(image.getPixels()[2][8], 50);
    Image gray = TestImages::uniform(5, 4, 8, 1);
    Colormap colormap(2);
    colormap.makeGrayscale(); // 0 and 255
    gray.setColormap(colormap);
    MeanFilter().apply(gray);
    EXPECT_EQ(gray.getDepth(), 8);
    EXPECT_FALSE(gray.isIndexed());
    EXPECT_EQ(gray.getPixels()[1][1], 255);
}

TEST(MeanFilter, warnsOfAnImageWithoutDepth) {
    Image image;
    testing::internal::CaptureStderr();
    MeanFilter().apply(image);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MeanFilter::apply(): cannot filter this type of image.\n"
                                                      "MeanFilter::apply(): [ image depth = 0, non-indexed image ]\n");
}

} // namespace vorlen
