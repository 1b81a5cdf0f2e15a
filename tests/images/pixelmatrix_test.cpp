#include "images/rasters/image.h"
#include "images/rasters/maskpixelmatrixprocessing.h"
#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"
#include "numerics/randomgenerator.h"
#include "support/testimages.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace vorlen {

namespace {

template <class T>
PixelMatrix<T> row(std::initializer_list<T> values) {
    PixelMatrix<T> matrix(1, static_cast<int>(values.size()));
    int j = 0;
    for (const T value : values)
        matrix[0][j++] = value;
    return matrix;
}

std::vector<int> bytes(const Image& image) {
    return std::vector<int>(image.getData(), image.getData() + image.dataLength());
}

} // namespace

TEST(PixelMatrix, takesRowsFromImageRowsAtEachDepth) {
    const Image gray = TestImages::ramp(3, 2, 8);
    const PixelMatrix<double> matrix(gray);
    ASSERT_EQ(matrix.getSize1(), 2);
    ASSERT_EQ(matrix.getSize2(), 3);
    EXPECT_EQ(matrix[1][2], gray.getPixels()[1][2]);

    Image wide(2, 1, 16);
    const std::uint16_t values[] = {258, 65535};
    std::memcpy(wide.getData(), values, 4);
    const PixelMatrix<int> words(wide);
    EXPECT_EQ(words[0][0], 258);
    EXPECT_EQ(words[0][1], 65535);

    const PixelMatrix<int> colour(TestImages::ramp(4, 3, 24));
    EXPECT_EQ(colour.getSize1(), 3);
    EXPECT_EQ(colour.getSize2(), 4);
}

TEST(PixelMatrix, takesOneChannelThroughTheColormap) {
    Image image = TestImages::ramp(3, 2, 8);
    image.setColormap(TestImages::colors());
    PixelMatrix<int> matrix(image);
    EXPECT_EQ(matrix[0][1], 10);
    matrix.convertFromImage(image, GreenChannel);
    EXPECT_EQ(matrix[0][1], 245);
    const Image colour = TestImages::ramp(3, 2, 32);
    matrix.convertFromImage(colour, AlphaChannel);
    EXPECT_EQ(matrix[1][2], colour.getPixels()[1][11]);
}

TEST(PixelMatrix, plainConversionTruncatesWithoutClamping) {
    Image image;
    const float huge = std::numeric_limits<float>::max();
    row<float>({3.9f, -1.0f, 257.0f, huge, std::nanf("")}).convertToImage(image);
    EXPECT_EQ(bytes(image), (std::vector<int>{3, 255, 1, 0, 0}));
    row<int>({300, -1}).convertToImage(image);
    EXPECT_EQ(bytes(image), (std::vector<int>{44, 255}));
    Image indexed(2, 1, 8);
    indexed.setGrayscale(256);
    row<int>({1, 2}).convertToImage(indexed);
    EXPECT_FALSE(indexed.isIndexed());
}

TEST(PixelMatrix, greyOfRealImagesAndColoursIsTakenWhateverTheyHold) {
    Image real;
    real.initReal(3, 1);
    const float values[] = {-2.5f, 70000, std::nanf("")};
    std::copy(values, values + 3, real.realRow(0));
    EXPECT_EQ(PixelMatrix<float>(real)[0][1], 70000);
    const PixelMatrix<short> shorts(real); // the nearest that there is
    EXPECT_EQ(shorts[0][0], -2);
    EXPECT_EQ(shorts[0][1], 32767);
    EXPECT_EQ(shorts[0][2], 0);
    Image colours(1, 1, 24);
    colours.getData()[0] = 10, colours.getData()[1] = 20, colours.getData()[2] = 32;
    PixelMatrix<int> grey;
    grey.convertGreyFromImage(colours);
    EXPECT_EQ(grey[0][0], 20);
    const Image copy(real); // which is real too
    EXPECT_TRUE(copy.isReal());
    Image bytesOfReal = real;
    bytesOfReal.make8bitsGrayscale();
    EXPECT_EQ(bytesOfReal.getDepth(), 8);
    EXPECT_FALSE(bytesOfReal.isReal());
    EXPECT_EQ(bytesOfReal.getData()[1], 255);
    EXPECT_EQ(bytesOfReal.getData()[0], 0);
    EXPECT_THROW(real.make24bits(), DepthError);
    EXPECT_THROW(Image(3, 1, 32).paste(real, 0, 0), DepthError);
}

TEST(PixelMatrix, stretchCoversTheRangeAndIntegersStepByWholeFactors) {
    Image image;
    row<double>({-1, 0, 1}).convertToImage(image, 10, 210);
    EXPECT_EQ(bytes(image), (std::vector<int>{10, 110, 210}));
    row<double>({-1, 0, 1}).convertToImage(image, 210, 10);
    EXPECT_EQ(bytes(image), (std::vector<int>{210, 110, 10}));
    row<int>({0, 50, 100}).convertToImage(image, 0, 255);
    EXPECT_EQ(bytes(image), (std::vector<int>{0, 100, 200})); // 255/100 is 2
    row<float>({5, 5}).convertToImage(image, 30, 255);
    EXPECT_EQ(bytes(image), (std::vector<int>{30, 30}));
    const int least = std::numeric_limits<int>::min(), greatest = std::numeric_limits<int>::max();
    // Where the whole factor would be 0, it is not rounded.
    row<int>({least, greatest}).convertToImage(image, 7, 255);
    EXPECT_EQ(bytes(image), (std::vector<int>{7, 255}));
    row<unsigned short>({1000, 1500, 2000, 3000}).convertToImage(image, 0, 255);
    EXPECT_EQ(bytes(image), (std::vector<int>{0, 63, 127, 255}));
    row<int>({0, 300, 600}).convertToImage(image, 210, 10);
    EXPECT_EQ(bytes(image), (std::vector<int>{210, 110, 10}));
    row<float>({std::nanf(""), 2, 4, std::nanf("")}).convertToImage(image, 20, 220);
    EXPECT_EQ(bytes(image), (std::vector<int>{20, 20, 220, 20}));
    EXPECT_NO_THROW(PixelMatrix<float>().convertToImage(image, 0, 255));
    EXPECT_EQ(image.dataLength(), 0u);
}

TEST(PixelMatrix, windowIsExactAtItsEnds) {
    Image image;
    row<float>({-5, 1, 2, 3, 9, std::nanf("")}).convertToImage(image, 1, 3, 0, 255);
    EXPECT_EQ(bytes(image), (std::vector<int>{0, 0, 127, 255, 255, 0}));
    row<int>({999, 1000, 1500, 2000}).convertToImage(image, 1000, 2000, 0, 255);
    EXPECT_EQ(bytes(image), (std::vector<int>{0, 0, 127, 255}));
    row<int>({4, 5, 6}).convertToImage(image, 5, 5, 1, 2);
    EXPECT_EQ(bytes(image), (std::vector<int>{1, 1, 2}));
    const int least = std::numeric_limits<int>::min(), greatest = std::numeric_limits<int>::max();
    row<int>({least, -1, greatest}).convertToImage(image, least, greatest, 0, 255);
    EXPECT_EQ(bytes(image), (std::vector<int>{0, 127, 255}));
}

TEST(PixelMatrix, bordersHaveTheirThicknessAndNoMore) {
    PixelMatrix<int> expected(5, 6), matrix(5, 6);
    for (const int width : {-1, 0, 1, 2, 3, 100}) {
        matrix.setZeros();
        matrix.fillBorder(width, 4);
        for (int i = 0; i < 5; ++i)
            for (int j = 0; j < 6; ++j)
                expected[i][j] = std::min(std::min(i, 4 - i), std::min(j, 5 - j)) < width ? 4 : 0;
        EXPECT_TRUE(matrix == expected) << width;
    }
    matrix.setZeros();
    matrix.fillBorder(4);
    expected.setZeros();
    expected.fillBorder(1, 4);
    EXPECT_TRUE(matrix == expected);
    PixelMatrix<int> single(1, 1);
    single.fillBorder(8);
    EXPECT_EQ(single[0][0], 8);
}

TEST(PixelMatrix, containsItsCornersOnly) {
    const PixelMatrix<float> matrix(2, 3);
    EXPECT_TRUE(matrix.contains(0, 0));
    EXPECT_TRUE(matrix.contains(1, 2));
    EXPECT_FALSE(matrix.contains(2, 1));
    EXPECT_FALSE(matrix.contains(1, 3));
    EXPECT_FALSE(matrix.contains(-1, 0));
    EXPECT_FALSE(matrix.contains(0, -1));
}

TEST(PixelMatrix, randomValuesFillTheirRange) {
    PixelMatrix<int> matrix(40, 40);
    RandomGenerator generator;
    generator.init(1);
    matrix.randomise(3, 6, generator);
    const Vector<unsigned int> counts = matrix.histogram(3, 1, 4);
    EXPECT_EQ(matrix.range()[0], 3);
    EXPECT_EQ(matrix.range()[1], 6);
    for (int k = 0; k < 4; ++k)
        EXPECT_NEAR(counts[k], 400.0, 100.0); // over five standard deviations
}

TEST(PixelMatrix, maskedHistogramCountsWhereTheMaskIsNotZero) {
    PixelMatrix<float> matrix(2, 2), mask(2, 2);
    matrix.setZeros();
    mask.setZeros();
    matrix[0][1] = 1.5f;
    matrix[1][0] = 9;
    mask[0][1] = mask[1][0] = mask[1][1] = 0.1f;
    const Vector<unsigned int> counts = matrix.histogram(0, 1, 3, mask);
    EXPECT_EQ(counts[0], 1u);
    EXPECT_EQ(counts[1], 1u);
    EXPECT_EQ(counts[2], 1u);
    try {
        matrix.histogram(0, 1, 3, PixelMatrix<float>(2, 3));
        FAIL();
    } catch (const SizeError& error) {
        EXPECT_EQ(error.getWhere(), "Vectorui PixelMatrix<T>::histogram(...)");
        EXPECT_EQ(error.getWhat(), "Incompatible mask size");
    }
}

TEST(MaskPixelMatrixProcessing, remembersItsMaskUntilUnset) {
    class Marker : public MaskPixelMatrixProcessing<float> {
    public:
        void apply(PixelMatrix<float>& matrix) override { matrix.fill(hasMask() ? (*getMask())[0][0] : -1); }
    };
    Marker marker;
    PixelMatrix<float> matrix(1, 1), mask(1, 1);
    mask.fill(5);
    marker.setMask(mask);
    marker.apply(matrix);
    EXPECT_EQ(matrix[0][0], 5);
    marker.unsetMask();
    marker.apply(matrix);
    EXPECT_EQ(matrix[0][0], -1);
}

} // namespace vorlen
