#include "images/rasters/colormapexpansion.h"
#include "images/rasters/image.h"
#include "images/rasters/imageconversion.h"
#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"
#include "support/testimages.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>

namespace vorlen {

namespace {

template <class Error, class Operation>
void expectError(Operation operation, const std::string& where, const std::string& what) {
    try {
        operation();
        FAIL() << "nothing was thrown";
    } catch (const Error& error) {
        EXPECT_EQ(error.getWhere(), where);
        EXPECT_EQ(error.getWhat(), what);
    }
}

Image image16(std::initializer_list<std::uint16_t> values) {
    Image image(static_cast<int>(values.size()), 1, 16);
    std::memcpy(image.getData(), values.begin(), image.dataLength());
    return image;
}

Image indexed(int width, int height) {
    Image image = TestImages::ramp(width, height, 8);
    image.setColormap(TestImages::colors());
    return image;
}

void setPixel(Image& image, int row, int col, std::initializer_list<int> bytes) {
    unsigned char* pixel = image.getPixels()[row] + col * image.bytesPerPixel();
    for (const int byte : bytes)
        *pixel++ = static_cast<unsigned char>(byte);
}

} // namespace

TEST(Image, initKeepsContentsOfTheSameShapeAndRowsPointIntoTheData) {
    Image image = TestImages::ramp(3, 2, 24);
    const unsigned char* data = image.getData();
    image.init(3, 2, 24);
    EXPECT_EQ(image.getData(), data);
    EXPECT_TRUE(TestImages::samePixels(image, TestImages::ramp(3, 2, 24)));
    EXPECT_EQ(image.getPixels()[1], data + 9);
    EXPECT_EQ(image.bytesPerLine(), 9);
    EXPECT_EQ(image.dataLength(), 18u);
    EXPECT_EQ(image.getSize()[0], 2);
    EXPECT_EQ(image.getSize()[1], 3);
}

TEST(Image, initWithAnInvalidDepthOrSizeLeavesAnEmptyImage) {
    Image image = TestImages::ramp(3, 2, 8);
    expectError<DepthError>([&] { image.init(3, 2, 12); }, "void Image::init(...)", "Invalid depth value");
    EXPECT_EQ(image.getData(), nullptr);
    EXPECT_EQ(image.getWidth(), 0);
    EXPECT_THROW(image.init(-1, 2, 8), SizeError);
    EXPECT_THROW(image.init(0x7fffffff, 1, 32), SizeError);
    EXPECT_EQ(image.getHeight(), 0);
}

TEST(Image, copyIsDeepAndTakesTheColormapButNotFormatAndCalibration) {
    Image image = indexed(4, 3);
    ImageHeader header = image.getHeader();
    header.setImageFormat(TiffImageFormat);
    PixelCalibration calibration;
    calibration.setPixelWidth(0.25f);
    header.setPixelCalibration(calibration);
    image.setHeader(header);
    Image copy(image);
    ASSERT_TRUE(copy.isIndexed());
    EXPECT_TRUE(*copy.getColormap() == TestImages::colors());
    EXPECT_TRUE(TestImages::samePixels(copy, image));
    EXPECT_EQ(copy.getHeader().getImageFormat(), NoImageFormat);
    EXPECT_EQ(copy.getHeader().getPixelCalibration().getPixelWidth(), 1.0f);
    copy.clear();
    EXPECT_EQ(image.getData()[0], 3);
    copy = TestImages::ramp(4, 3, 8);
    EXPECT_FALSE(copy.isIndexed());
    copy = Image();
    EXPECT_EQ(copy.getData(), nullptr);
}

TEST(Image, headerOfAnotherSizeNeverLeavesRowsOfTheOldOne) {
    Image image = TestImages::ramp(4, 3, 8);
    ImageHeader header = image.getHeader();
    header.setHeight(100);
    image.setHeader(header);
    EXPECT_EQ(image.getData(), nullptr);
    image.allocatePixels();
    image.clear();
    EXPECT_EQ(image.getPixels()[99][3], 0);
}

TEST(ImageHeader, colormapIsTakenAtDepthEightOnlyAndDoesNotTakePartInEquality) {
    ImageHeader header;
    header.setDepth(24);
    header.setColormap(Colormap::flag());
    EXPECT_FALSE(header.hasColormap());
    header.setDepth(8);
    ImageHeader other = header;
    header.setColormap(Colormap::flag());
    EXPECT_TRUE(header.hasColormap());
    EXPECT_TRUE(header == other);
    other = header;
    ASSERT_TRUE(other.hasColormap());
    EXPECT_NE(other.getColormap(), header.getColormap());
    other.setWidth(3);
    EXPECT_TRUE(header != other);
    header.clear();
    EXPECT_FALSE(header.hasColormap());
    EXPECT_EQ(header.getDepth(), 0);
}

TEST(Image, pasteCopiesTheBlockAndNothingElse) {
    Image target = TestImages::uniform(5, 4, 24, 9);
    target.paste(TestImages::ramp(2, 2, 24), 3, 1);
    const Image source = TestImages::ramp(2, 2, 24);
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 15; ++k) {
            const bool inside = i >= 1 && i <= 2 && k >= 9;
            EXPECT_EQ(target.getPixels()[i][k], inside ? source.getPixels()[i - 1][k - 9] : 9) << i << ", " << k;
        }
}

TEST(Image, pasteRefusesWhatDoesNotFit) {
    const std::string where = "void Image::paste(...)";
    Image target = indexed(4, 4);
    expectError<DepthError>([&] { target.paste(TestImages::ramp(1, 1, 24), 0, 0); }, where,
                            "Incompatible image depths");
    expectError<ColormapError>([&] { target.paste(TestImages::ramp(1, 1, 8), 0, 0); }, where,
                               "Incompatible image colormaps");
    Image gray = TestImages::ramp(1, 1, 8);
    gray.setGrayscale(256);
    expectError<ColormapError>([&] { target.paste(gray, 0, 0); }, where, "Incompatible image colormaps");
    for (const auto& [x, y] : {std::pair{3, 0}, {0, 3}, {-1, 0}, {0, -1}, {0x7fffffff, 0}})
        expectError<SizeError>([&, x = x, y = y] { target.paste(indexed(2, 2), x, y); }, where,
                               "Incompatible size and position");
    EXPECT_NO_THROW(target.paste(indexed(2, 2), 2, 2));
}

TEST(Image, colourContentIsThatOfEveryPixelAndBlackIsGray) {
    const Image image;
    EXPECT_EQ(image.colorContent(0, 0, 0), GrayContent);
    EXPECT_EQ(image.colorContent(5, 0, 0), RedContent);
    EXPECT_EQ(image.colorContent(0, 5, 0), GreenContent);
    EXPECT_EQ(image.colorContent(0, 0, 5), BlueContent);
    EXPECT_EQ(image.colorContent(0, 5, 5), MixedContent);
    EXPECT_EQ(image.colorContent(), UndefinedContent);

    Image red(2, 2, 32);
    red.clear();
    for (int i = 0; i < 4; ++i)
        setPixel(red, i / 2, i % 2, {200, 0, 0, 7});
    EXPECT_EQ(red.colorContent(), RedContent);
    EXPECT_TRUE(red.isRedOnly());
    EXPECT_FALSE(red.isGrayscale());
    setPixel(red, 1, 1, {0, 0, 0, 0});
    EXPECT_EQ(red.colorContent(), MixedContent);
    EXPECT_TRUE(red.isRedOnly());
    EXPECT_FALSE(red.isGreenOnly());
    setPixel(red, 1, 1, {0, 1, 0, 0});
    EXPECT_FALSE(red.isRedOnly());
    EXPECT_EQ(TestImages::ramp(2, 2, 16).colorContent(), GrayContent);
    EXPECT_FALSE(TestImages::ramp(2, 2, 16).isBlueOnly());
    EXPECT_EQ(TestImages::uniform(2, 2, 24, 8).colorContent(), GrayContent);
    EXPECT_EQ(indexed(2, 2).colorContent(), MixedContent);
}

TEST(Image, setGrayscaleInstallsOrRemovesARampAtDepthEightOnly) {
    Image image = indexed(2, 2);
    image.setGrayscale(16);
    ASSERT_TRUE(image.isIndexed());
    EXPECT_EQ(image.getColormap()->getSize(), 16);
    EXPECT_EQ(image.getColormap()->getRed()[1], 17);
    image.setGrayscale(0);
    EXPECT_FALSE(image.isIndexed());
    Image colour = TestImages::ramp(2, 2, 24);
    colour.setGrayscale(256);
    EXPECT_FALSE(colour.getHeader().hasColormap());
}

TEST(Image, sixteenBitsAreScaledToEightOnlyWhenAValueExceedsThem) {
    Image small = image16({0, 7, 255});
    small.make8bitsGrayscale();
    EXPECT_EQ(small.getDepth(), 8);
    EXPECT_EQ(small.getData()[1], 7);
    EXPECT_EQ(small.getData()[2], 255);
    Image great = image16({0, 500, 502, 1000});
    great.make8bitsGrayscale();
    EXPECT_EQ(great.getData()[1], 128); // 127.5 goes up
    EXPECT_EQ(great.getData()[2], 128);
    EXPECT_EQ(great.getData()[3], 255);
    Image full = image16({65535, 32768});
    full.make8bitsGrayscale();
    EXPECT_EQ(full.getData()[0], 255);
}

TEST(Image, colourBecomesTheTruncatedMeanAndIndexedStaysIndexed) {
    Image colour(1, 1, 32);
    setPixel(colour, 0, 0, {255, 255, 254, 99});
    colour.make8bitsGrayscale();
    EXPECT_EQ(colour.getDepth(), 8);
    EXPECT_EQ(colour.getData()[0], 254);
    Image image = indexed(3, 3);
    image.make8bitsGrayscale();
    EXPECT_TRUE(image.isIndexed());
    EXPECT_TRUE(image.isGrayscale());
    EXPECT_EQ(image.getColormap()->getRed()[10], (10 + 245 + 5) / 3);
}

TEST(Image, expandsTo24And32Bits) {
    Image image = indexed(2, 1);
    image.getData()[1] = 200;
    image.make24bits();
    EXPECT_EQ(image.getDepth(), 24);
    EXPECT_EQ(image.getData()[3], 200);
    EXPECT_EQ(image.getData()[4], 55);
    EXPECT_EQ(image.getData()[5], 100);
    image.make32bits();
    EXPECT_EQ(image.getDepth(), 32);
    EXPECT_EQ(image.getData()[4], 200);
    EXPECT_EQ(image.getData()[7], 0);
    Image gray = TestImages::ramp(2, 1, 8);
    gray.make32bits();
    EXPECT_EQ(gray.getDepth(), 8);
    gray.make24bits();
    EXPECT_EQ(gray.getData()[3], 10);
    EXPECT_EQ(gray.getData()[5], 10);
    for (const int depth : {16, 32}) {
        Image other(1, 1, depth);
        expectError<DepthError>([&] { other.make24bits(); }, "void Image::make24bits()",
                                "Cannot convert non-8 bits images");
    }
}

TEST(Image, indexBehindAShortColormapIsBlack) {
    Image image = TestImages::uniform(2, 2, 8, 200);
    image.setColormap(Colormap::flag());
    EXPECT_EQ(image.channel(RedChannel).getData()[0], 0);
    PixelMatrix<float> matrix;
    matrix.convertFromImage(image, GreenChannel);
    EXPECT_EQ(matrix[1][1], 0);
    image.make24bits();
    EXPECT_EQ(image.getData()[2], 0);
}

TEST(Image, channelsAreReadAndWrittenAtTheirByte) {
    Image image = TestImages::ramp(3, 2, 32);
    for (const ImageChannel channel : {RedChannel, GreenChannel, BlueChannel, AlphaChannel}) {
        const Image plane = image.channel(channel);
        ASSERT_EQ(plane.getDepth(), 8);
        for (int k = 0; k < 6; ++k)
            EXPECT_EQ(plane.getData()[k], image.getData()[4 * k + channel]);
    }
    EXPECT_EQ(TestImages::ramp(3, 2, 24).channel(AlphaChannel).getData()[5], 0);
    EXPECT_EQ(TestImages::ramp(3, 2, 8).channel(AlphaChannel).getData()[5], 0);
    EXPECT_EQ(TestImages::ramp(3, 2, 8).channel(BlueChannel).getData()[5], 38);
    EXPECT_EQ(indexed(3, 2).channel(GreenChannel).getData()[0], 252);

    PixelMatrix<unsigned char> matrix(2, 3);
    matrix.fill(77);
    image.setChannel(GreenChannel, matrix);
    const Image before = TestImages::ramp(3, 2, 32);
    for (int k = 0; k < 24; ++k)
        EXPECT_EQ(image.getData()[k], k % 4 == 1 ? 77 : before.getData()[k]);
    Image colour = TestImages::ramp(3, 2, 24);
    colour.setChannel(AlphaChannel, matrix);
    EXPECT_EQ(colour.getPixels()[1][6], 77);
    expectError<SizeError>([&] { image.setChannel(RedChannel, PixelMatrix<unsigned char>(3, 2)); },
                           "void Image::setChannel(...)", "This image and pixelMatrix have different sizes");
}

TEST(Image, printTellsHeaderAndPixels) {
    Image image(2, 1, 24);
    setPixel(image, 0, 0, {1, 22, 255});
    setPixel(image, 0, 1, {0, 0, 0});
    testing::internal::CaptureStdout();
    image.print("Title");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Title\nRows:     1\nCols:     2\nDepth:    24\nColormap:  none\nSize:     6 octets\nFormat:   None\n"
              "(  1. 22.255) (  0.  0.  0) \n");
    testing::internal::CaptureStdout();
    Image map = indexed(1, 1);
    map.print("", true);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Rows:     1\nCols:     1\nDepth:    8\nColormap: 256 cells\nSize:     1 octets\nFormat:   None\n"
              "Data: (not shown).\n");
    testing::internal::CaptureStdout();
    Image().print();
    EXPECT_NE(testing::internal::GetCapturedStdout().find("[No data allocated yet.]"), std::string::npos);
}

TEST(ColormapExpansion, mapsEachIndexAndLeavesOtherImagesAlone) {
    const Image source = indexed(3, 2);
    for (const unsigned int depth : {24u, 32u}) {
        ColormapExpansion expansion;
        expansion.setTargetDepth(depth);
        Image result;
        expansion.apply(result, source);
        ASSERT_EQ(result.getDepth(), static_cast<int>(depth));
        const int step = result.bytesPerPixel();
        for (int k = 0; k < 6; ++k) {
            EXPECT_EQ(result.getData()[k * step], source.getData()[k]);
            EXPECT_EQ(result.getData()[k * step + 1], 255 - source.getData()[k]);
        }
    }
    ColormapExpansion toGray;
    toGray.setTargetDepth(8);
    Image image = indexed(3, 2);
    toGray.apply(image);
    EXPECT_TRUE(image.isIndexed());
    image.setGrayscale(256);
    image.getHeader();
    toGray.apply(image);
    EXPECT_FALSE(image.isIndexed());
    EXPECT_TRUE(TestImages::samePixels(image, TestImages::ramp(3, 2, 8)));
    EXPECT_THROW(toGray.setTargetDepth(16), DepthError);
}

TEST(ImageConversion, turnsIndexedColourIntoGray) {
    ImageConversion conversion;
    conversion.targetGrayscale = true;
    Image plain;
    const Image source = indexed(3, 2);
    conversion.apply(plain, source);
    EXPECT_FALSE(plain.isIndexed());
    for (int k = 0; k < 6; ++k) {
        const int index = source.getData()[k];
        EXPECT_EQ(plain.getData()[k], (index + 255 - index + index / 2) / 3);
    }
    conversion.targetIndexed = true;
    Image gray = indexed(3, 2);
    conversion.apply(gray);
    EXPECT_TRUE(gray.isIndexed() && gray.isGrayscale());
    EXPECT_TRUE(TestImages::samePixels(gray, source));

    testing::internal::CaptureStderr();
    Image colour = TestImages::ramp(3, 2, 24);
    conversion.apply(colour);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "TOLV Image Lib: Conversion not implemented\n");
    EXPECT_TRUE(TestImages::samePixels(colour, TestImages::ramp(3, 2, 24)));
}

} // namespace vorlen
