#include "images/files/imagefile.h"
#include "images/files/imagereader.h"
#include "images/files/samplesink.h"
#include "images/rasters/image.h"
#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"
#include "support/temporaryfolder.h"
#include "support/tiffmaker.h"

#include <array>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>

namespace vorlen {

namespace {

/// Samples of a page as plain numbers.
class Collector : public SampleSink {
public:
    explicit Collector(const ImagePage& page) : __page(page) {
        values.resize(std::size_t(page.width) * std::size_t(page.height) * std::size_t(page.numSamples));
    }
    bool takeRow(int row, const unsigned char* samples) override {
        withSampleType(__page.storage, [&](auto typed) {
            const auto* from = reinterpret_cast<const decltype(typed)*>(samples);
            const std::size_t length = std::size_t(__page.width) * std::size_t(__page.numSamples);
            for (std::size_t k = 0; k < length; ++k)
                values[std::size_t(row) * length + k] = double(from[k]);
        });
        return true;
    }
    double at(int row, int column, int sample) const {
        return values[(std::size_t(row) * std::size_t(__page.width) + std::size_t(column)) *
                          std::size_t(__page.numSamples) +
                      std::size_t(sample)];
    }

    std::vector<double> values;

private:
    ImagePage __page;
};

/// A value of so many bits that differs from place to place.
std::uint64_t scattered(int row, int column, int sample, int bits) {
    const std::uint64_t mixed =
        (std::uint64_t(row) * 131 + std::uint64_t(column) * 31 + std::uint64_t(sample) * 7 + 3) * 0x9e3779b97f4a7c15u;
    return mixed >> (64 - bits);
}

struct Kind {
    int bits, format;
    const char* name;
};

const std::vector<Kind> kinds = {
    {1, SAMPLEFORMAT_UINT, "uint1"},      {2, SAMPLEFORMAT_UINT, "uint2"},      {4, SAMPLEFORMAT_UINT, "uint4"},
    {8, SAMPLEFORMAT_UINT, "uint8"},      {10, SAMPLEFORMAT_UINT, "uint10"},    {12, SAMPLEFORMAT_UINT, "uint12"},
    {16, SAMPLEFORMAT_UINT, "uint16"},    {24, SAMPLEFORMAT_UINT, "uint24"},    {32, SAMPLEFORMAT_UINT, "uint32"},
    {64, SAMPLEFORMAT_UINT, "uint64"},    {8, SAMPLEFORMAT_INT, "int8"},        {12, SAMPLEFORMAT_INT, "int12"},
    {16, SAMPLEFORMAT_INT, "int16"},      {32, SAMPLEFORMAT_INT, "int32"},      {64, SAMPLEFORMAT_INT, "int64"},
    {16, SAMPLEFORMAT_IEEEFP, "float16"}, {32, SAMPLEFORMAT_IEEEFP, "float32"}, {64, SAMPLEFORMAT_IEEEFP, "float64"},
};

/// The number that the bits stand for, worked out on its own.
double numberOf(std::uint64_t bits, const Kind& kind) {
    if (kind.format == SAMPLEFORMAT_UINT)
        return double(bits);
    if (kind.format == SAMPLEFORMAT_INT)
        return bits >> (kind.bits - 1) ? double(std::int64_t(bits | ~std::uint64_t(0) << (kind.bits - 1) << 1))
                                       : double(bits);
    if (kind.bits == 32) {
        float value;
        std::memcpy(&value, &bits, 4);
        return double(value);
    }
    if (kind.bits == 64) {
        double value;
        std::memcpy(&value, &bits, 8);
        return value;
    }
    const double sign = bits & 0x8000 ? -1 : 1;
    return sign * std::ldexp(1 + double(bits & 1023) / 1024, int(bits >> 10 & 31) - 15);
}

/// Bits of real numbers that are no infinities and not too small.
std::uint64_t bitsFor(const Kind& kind, int row, int column, int sample) {
    if (kind.format != SAMPLEFORMAT_IEEEFP)
        return scattered(row, column, sample, kind.bits);
    const double value = (double(scattered(row, column, sample, 20)) - 500000) / 64;
    if (kind.bits == 32)
        return bitsOf(float(value));
    return kind.bits == 64 ? bitsOf(value)
                           : (scattered(row, column, sample, 16) & 0x87ff) | std::uint64_t(5 + column % 20) << 10;
}

Collector collect(const std::string& file, ImagePage& page, int number = 0) {
    const std::unique_ptr<ImageFile> open = ImageFile::open(file);
    page = open->getPage(number);
    Collector collector(page);
    open->read(number, collector);
    return collector;
}

std::string refusal(const std::string& file) {
    try {
        ImageHeader header;
        ImageReader().read(header, file);
    } catch (const FileError& error) {
        EXPECT_EQ(error.getFile(), file);
        return error.getWhat();
    }
    return "";
}

} // namespace

// Every type of number in strips and tiles, interleaved and apart, in both byte orders and both sizes of TIFF.
TEST(TiffPicture, samplesComeAsTheFileHasThemWhateverTheirTypeAndPlace) {
    const TemporaryFolder folder;
    const std::string file = folder.file("a.tif");
    for (const Kind& kind : kinds)
        for (const int samples : {1, 2, 5})
            for (const int planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE})
                for (const int tile : {0, 16})
                    for (const char* mode : {"wl", "wb8"}) {
                        TiffMaker maker;
                        maker.width = 21;
                        maker.height = 19;
                        maker.bits = kind.bits;
                        maker.format = kind.format;
                        maker.samples = samples;
                        maker.planar = planar;
                        maker.tile = tile;
                        maker.rowsPerStrip = 4;
                        maker.compression = samples == 2 ? COMPRESSION_ADOBE_DEFLATE : COMPRESSION_NONE;
                        const auto sample = [&kind](int i, int j, int k) { return bitsFor(kind, i, j, k); };
                        maker.write(file, sample, mode);
                        ImagePage page;
                        const Collector read = collect(file, page);
                        ASSERT_EQ(page.values.name(), kind.name);
                        ASSERT_EQ(page.numSamples, samples);
                        for (int i = 0; i < maker.height; ++i)
                            for (int j = 0; j < maker.width; ++j)
                                for (int k = 0; k < samples; ++k)
                                    ASSERT_EQ(read.at(i, j, k), numberOf(sample(i, j, k), kind))
                                        << kind.name << ' ' << samples << ' ' << planar << ' ' << tile << mode << ' '
                                        << i << ' ' << j << ' ' << k;
                    }
}

TEST(TiffPicture, floatsOf24BitsHaveSevenBitsOfExponent) {
    const TemporaryFolder folder;
    TiffMaker maker;
    maker.width = 4;
    maker.height = 1;
    maker.bits = 24;
    maker.format = SAMPLEFORMAT_IEEEFP;
    const std::uint64_t bits[] = {0x3f0000, 0xc00000, 0x3f8000, 0x7f0000}; // 1, -2, 1.5, infinity
    maker.write(folder.file("a.tif"), [&](int, int j, int) { return bits[j]; });
    ImagePage page;
    EXPECT_EQ(collect(folder.file("a.tif"), page).values, (std::vector<double>{1, -2, 1.5, INFINITY}));
}

// Codecs that this libtiff has; what one of them loses is stated.
TEST(TiffPicture, everyCodecOfLibtiffIsDecoded) {
    const TemporaryFolder folder;
    const std::string file = folder.file("a.tif");
    struct Codec {
        int compression, bits, samples;
        double tolerance;
    };
    for (const Codec& codec : {Codec{COMPRESSION_LZW, 16, 1, 0},
                               {COMPRESSION_PACKBITS, 8, 1, 0},
                               {COMPRESSION_ADOBE_DEFLATE, 16, 3, 0},
                               {COMPRESSION_DEFLATE, 8, 1, 0},
                               {COMPRESSION_LZMA, 16, 1, 0},
                               {COMPRESSION_ZSTD, 16, 1, 0},
                               {COMPRESSION_LERC, 16, 1, 0},
                               {COMPRESSION_WEBP, 8, 3, 40},
                               {COMPRESSION_JBIG, 1, 1, 0},
                               {COMPRESSION_JPEG, 8, 1, 30},
                               {COMPRESSION_CCITTFAX3, 1, 1, 0},
                               {COMPRESSION_CCITTFAX4, 1, 1, 0},
                               {COMPRESSION_CCITTRLE, 1, 1, 0}}) {
        if (!TIFFIsCODECConfigured(std::uint16_t(codec.compression)))
            continue;
        for (const int tile : {0, 16}) {
            if (tile > 0 && codec.compression == COMPRESSION_JBIG)
                continue; // libtiff itself writes each such tile as large as the image
            TiffMaker maker;
            maker.width = 32;
            maker.height = 32;
            maker.bits = codec.bits;
            maker.samples = codec.samples;
            maker.photometric = codec.samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
            maker.compression = codec.compression;
            maker.tile = tile;
            const auto sample = [&codec](int i, int j, int) {
                return std::uint64_t(codec.bits == 1 ? (i / 5 + j / 3) % 2 : 3 * i + 2 * j);
            };
            maker.write(file, sample);
            ImagePage page;
            const Collector read = collect(file, page);
            for (int i = 0; i < maker.height; ++i)
                for (int j = 0; j < maker.width; ++j)
                    for (int k = 0; k < codec.samples; ++k)
                        ASSERT_NEAR(read.at(i, j, k), double(sample(i, j, k)), codec.tolerance)
                            << codec.compression << ' ' << tile << ' ' << i << ' ' << j;
        }
    }
}

TEST(TiffPicture, orientationsAreTurnedUpright) {
    const TemporaryFolder folder;
    for (int orientation = 1; orientation <= 8; ++orientation)
        for (const int tile : {0, 16}) {
            TiffMaker maker;
            maker.width = 6;
            maker.height = 3;
            maker.samples = 3;
            maker.photometric = PHOTOMETRIC_RGB;
            maker.tile = tile;
            maker.orientation = orientation;
            maker.unit = RESUNIT_CENTIMETER;
            maker.xResolution = 10000;
            maker.yResolution = 5000;
            maker.write(folder.file("a.tif"), [](int i, int j, int k) { return std::uint64_t(60 * i + 10 * j + k); });
            ImagePage page;
            const Collector read = collect(folder.file("a.tif"), page);
            const bool turned = orientation > 4;
            ASSERT_EQ(page.width, turned ? 3 : 6);
            EXPECT_FLOAT_EQ(page.calibration.getPixelWidth(), turned ? 2.0f : 1.0f);
            // Where the file's first row and column are seen, by the names that the format gives the orientations.
            for (int i = 0; i < page.height; ++i)
                for (int j = 0; j < page.width; ++j) {
                    const bool bottom = orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
                    const bool right = orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
                    const int down = bottom ? page.height - 1 - i : i, across = right ? page.width - 1 - j : j;
                    ASSERT_EQ(read.at(i, j, 1), (turned ? 60 * across + 10 * down : 60 * down + 10 * across) + 1)
                        << orientation << ' ' << i << ' ' << j;
                }
        }
}

TEST(TiffPicture, greyOfWhichTheLeastIsWhiteIsTurnedAround) {
    const TemporaryFolder folder;
    for (const auto& [bits, format, value, expected] : {std::array<int, 4>{8, SAMPLEFORMAT_UINT, 10, 245},
                                                        {16, SAMPLEFORMAT_UINT, 1000, 64535},
                                                        {1, SAMPLEFORMAT_UINT, 1, 0},
                                                        {4, SAMPLEFORMAT_UINT, 3, 12},
                                                        {8, SAMPLEFORMAT_INT, 10, -11}}) {
        TiffMaker maker;
        maker.bits = bits;
        maker.format = format;
        maker.photometric = PHOTOMETRIC_MINISWHITE;
        const std::uint64_t sample = std::uint64_t(value);
        maker.write(folder.file("a.tif"), [sample](int, int, int) { return sample; });
        ImagePage page;
        EXPECT_EQ(collect(folder.file("a.tif"), page).at(1, 2, 0), expected) << bits;
    }
}

TEST(TiffPicture, inksBecomeTheColoursThatTheyLeave) {
    const TemporaryFolder folder;
    TiffMaker maker;
    maker.width = 5;
    maker.height = 1;
    maker.samples = 4;
    maker.photometric = PHOTOMETRIC_SEPARATED;
    // Paper, cyan, black, half black, and a mixture.
    const int inks[5][4] = {{0, 0, 0, 0}, {255, 0, 0, 0}, {0, 0, 0, 255}, {0, 0, 0, 128}, {51, 102, 0, 51}};
    const int colours[5][3] = {{255, 255, 255}, {0, 255, 255}, {0, 0, 0}, {127, 127, 127}, {163, 122, 204}};
    for (const int bits : {8, 16}) {
        maker.bits = bits;
        maker.write(folder.file("a.tif"),
                    [&](int, int j, int k) { return std::uint64_t(inks[j][k] * (bits == 16 ? 257 : 1)); });
        Image image(folder.file("a.tif"), "");
        ASSERT_EQ(image.getDepth(), 24);
        for (int j = 0; j < 5; ++j)
            for (int k = 0; k < 3; ++k)
                EXPECT_NEAR(image.getPixels()[0][3 * j + k], colours[j][k], 1) << j << ' ' << k;
    }
}

// Reference: sRGB's own colours in L*a*b* under D50 (red, green and blue of ICC's profile), and greys.
TEST(TiffPicture, labBecomesSrgbAndGreyStaysGrey) {
    const TemporaryFolder folder;
    TiffMaker maker;
    maker.width = 6;
    maker.height = 1;
    maker.samples = 3;
    const double lab[6][3] = {
        {100, 0, 0}, {0, 0, 0}, {53.585, 0, 0}, {54.29, 80.81, 69.89}, {87.82, -79.29, 80.99}, {29.57, 68.30, -112.03}};
    const int colours[6][3] = {{255, 255, 255}, {0, 0, 0}, {128, 128, 128}, {255, 0, 0}, {0, 255, 0}, {0, 0, 255}};
    for (const int photometric : {PHOTOMETRIC_CIELAB, PHOTOMETRIC_ICCLAB})
        for (const int bits : {8, 16}) {
            maker.bits = bits;
            maker.photometric = photometric;
            maker.write(folder.file("a.tif"), [&](int, int j, int k) {
                const bool icc = photometric == PHOTOMETRIC_ICCLAB;
                const double scale = bits == 8 ? 1 : 256;
                if (k == 0)
                    return std::uint64_t(std::lround(lab[j][0] / 100 * (bits == 8 ? 255 : icc ? 65280 : 65535)));
                return std::uint64_t(std::lround((lab[j][k] + (icc ? 128 : 0)) * scale)) & (bits == 8 ? 0xff : 0xffff);
            });
            const Image image(folder.file("a.tif"), "");
            for (int j = 0; j < 6; ++j)
                for (int k = 0; k < 3; ++k)
                    EXPECT_NEAR(image.getPixels()[0][3 * j + k], colours[j][k], bits == 8 && j > 2 ? 14 : 2)
                        << photometric << ' ' << bits << ' ' << j << ' ' << k;
        }
}

// Luminance and chrominance in clumps of 2 by 2 pixels, written as they lie in the file; expected colours after ITU-R
// BT.601.
TEST(TiffPicture, luminanceAndChrominanceWithoutJpegBecomeColours) {
    const TemporaryFolder folder;
    const std::string file = folder.file("a.tif");
    TIFF* tiff = TIFFOpen(file.c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 4);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 2);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_YCBCR);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, 2, 2);
    const float range[6] = {0, 255, 128, 255, 128, 255};
    TIFFSetField(tiff, TIFFTAG_REFERENCEBLACKWHITE, range);
    unsigned char clumps[] = {76, 150, 200, 30, 128, 128, 76, 76, 76, 76, 85, 255};
    TIFFWriteRawStrip(tiff, 0, clumps, sizeof clumps);
    TIFFClose(tiff);
    const Image image(file, "");
    ASSERT_EQ(image.getDepth(), 24);
    const int grey[2][2] = {{76, 150}, {200, 30}};
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 2; ++j)
            for (int k = 0; k < 3; ++k) {
                EXPECT_NEAR(image.getPixels()[i][3 * j + k], grey[i][j], 1);
                EXPECT_NEAR(image.getPixels()[i][3 * (j + 2) + k], k == 0 ? 254 : 0, 2);
            }
}

TEST(TiffPicture, alphaThatIsAFactorIsShownOverWhiteAndAnotherIsKept) {
    const TemporaryFolder folder;
    TiffMaker maker;
    maker.width = 2;
    maker.height = 1;
    maker.samples = 4;
    maker.photometric = PHOTOMETRIC_RGB;
    maker.extra = EXTRASAMPLE_ASSOCALPHA;
    const int pixels[2][4] = {{0, 0, 0, 0}, {50, 100, 0, 100}};
    const auto sample = [&](int, int j, int k) { return std::uint64_t(pixels[j][k]); };
    maker.write(folder.file("a.tif"), sample);
    const Image over(folder.file("a.tif"), "");
    ASSERT_EQ(over.getDepth(), 24);
    EXPECT_EQ(std::vector<int>(over.getData(), over.getData() + 6), (std::vector<int>{255, 255, 255, 205, 255, 155}));
    maker.extra = EXTRASAMPLE_UNASSALPHA;
    maker.write(folder.file("a.tif"), sample);
    const Image kept(folder.file("a.tif"), "");
    ASSERT_EQ(kept.getDepth(), 32);
    EXPECT_EQ(kept.getPixels()[0][7], 100);
    EXPECT_EQ(kept.getPixels()[0][4], 50);
}

TEST(TiffPicture, imagesHoldValuesAsTheyAreAndColoursAsBytes) {
    const TemporaryFolder folder;
    const std::string file = folder.file("a.tif");
    for (const Kind& kind : kinds) {
        TiffMaker maker;
        maker.bits = kind.bits;
        maker.format = kind.format;
        maker.write(file, [&kind](int i, int j, int k) { return bitsFor(kind, i, j, k); });
        ImageHeader header;
        ImageReader().read(header, file);
        const Image image(file, "");
        const bool ofBytes = kind.format == SAMPLEFORMAT_UINT && kind.bits <= 8;
        const bool ofWords = kind.format == SAMPLEFORMAT_UINT && kind.bits > 8 && kind.bits <= 16;
        EXPECT_EQ(image.getDepth(), ofBytes ? 8 : ofWords ? 16 : 32) << kind.name;
        EXPECT_EQ(image.isReal(), !ofBytes && !ofWords) << kind.name;
        EXPECT_EQ(header.getDepth(), image.getDepth()) << kind.name;
        EXPECT_EQ(header.isReal(), image.isReal()) << kind.name;
        EXPECT_EQ(header.getValueType().name(), kind.name);
        const PixelMatrix<double> values(image);
        const double stretch = ofBytes ? 255 / (std::ldexp(1.0, kind.bits) - 1) : 1;
        EXPECT_EQ(values[2][3], double(float(numberOf(bitsFor(kind, 2, 3, 0), kind) * stretch))) << kind.name;
    }
    TiffMaker maker;
    maker.samples = 3;
    maker.bits = 16;
    maker.photometric = PHOTOMETRIC_RGB;
    maker.write(file, [](int, int j, int k) { return std::uint64_t(257 * 40 * j + 100 * k); });
    const Image colours(file, "");
    ASSERT_EQ(colours.getDepth(), 24);
    EXPECT_EQ(std::vector<int>(colours.getPixels()[0] + 3, colours.getPixels()[0] + 6), (std::vector<int>{40, 40, 41}));
    // A channel of it is a grey image of words.
    Image green;
    ImageReader().read(green, file, 0, 2);
    ASSERT_EQ(green.getDepth(), 16);
    EXPECT_EQ(PixelMatrix<int>(green)[1][2], 257 * 80 + 100);
    EXPECT_THROW(ImageReader().read(green, file, 0, 4), RangeError);
}

TEST(TiffPicture, palettesOfEverySizeGiveTheirColours) {
    const TemporaryFolder folder;
    for (const int bits : {1, 2, 4, 8, 16}) {
        TiffMaker maker;
        maker.bits = bits;
        maker.photometric = PHOTOMETRIC_PALETTE;
        const int size = 1 << bits;
        for (int table = 0; table < 3; ++table)
            for (int i = 0; i < size; ++i)
                maker.palette.push_back(std::uint16_t((i * (table + 1) * 37 % 256) << 8));
        maker.write(folder.file("a.tif"), [size](int i, int j, int) { return std::uint64_t((17 * i + 5 * j) % size); });
        EXPECT_EQ(ImageReader().measure(folder.file("a.tif"), 0, 0).values, "uint8") << bits; // those of the colours
        const Image image(folder.file("a.tif"), "");
        PixelMatrix<int> grey;
        grey.convertGreyFromImage(image);
        const int index = (17 * 2 + 5 * 3) % size;
        const int red = index * 37 % 256, green = index * 74 % 256, blue = index * 111 % 256;
        EXPECT_EQ(grey[2][3], (red + green + blue) / 3) << bits;
        EXPECT_EQ(image.channel(GreenChannel).getPixels()[2][3], green) << bits;
    }
}

TEST(TiffPicture, resolutionsHaveTheirUnit) {
    const TemporaryFolder folder;
    const auto calibration = [&folder](int unit, float x, float y) {
        TiffMaker maker;
        maker.unit = unit;
        maker.xResolution = x;
        maker.yResolution = y;
        maker.write(folder.file("a.tif"), [](int, int, int) { return std::uint64_t(0); });
        ImageHeader header;
        ImageReader().read(header, folder.file("a.tif"));
        return header.getPixelCalibration();
    };
    for (const int unit : {0, int(RESUNIT_INCH)}) { // inches where there is no tag
        const PixelCalibration inches = calibration(unit, 300, 300);
        EXPECT_EQ(inches.getLengthUnit(), LengthUnit(-6));
        EXPECT_FLOAT_EQ(inches.getPixelWidth(), 25400.0f / 300);
    }
    const PixelCalibration centimeters = calibration(RESUNIT_CENTIMETER, 20000, 10000);
    EXPECT_FLOAT_EQ(centimeters.getPixelWidth(), 0.5f);
    EXPECT_FLOAT_EQ(centimeters.getPixelHeight(), 1);
    const PixelCalibration ratio = calibration(RESUNIT_NONE, 2, 1);
    EXPECT_TRUE(ratio.isDefaultPixelWidth());
    EXPECT_FLOAT_EQ(ratio.getAspectRatio(), 2);
}

TEST(TiffPicture, whatCannotBeReadIsToldByTheHeaderInPlainWords) {
    const TemporaryFolder folder;
    const std::string file = folder.file("a.tif");
    const auto zero = [](int, int, int) { return std::uint64_t(0); };
    TiffMaker maker;
    maker.format = SAMPLEFORMAT_COMPLEXIEEEFP;
    maker.bits = 64;
    maker.write(file, zero);
    EXPECT_NE(refusal(file).find("complex numbers"), std::string::npos);
    maker = TiffMaker();
    maker.photometric = 32803;
    maker.write(file, zero);
    EXPECT_NE(refusal(file).find("camera's sensor"), std::string::npos);
    maker = TiffMaker();
    maker.write(file, zero);
    std::string bytes = folder.read("a.tif");
    const std::string tag("\x03\x01\x03\x00\x01\x00\x00\x00", 8); // Compression, one word
    bytes.replace(bytes.find(tag) + 8, 2, "\x72\xc3", 2);         // 50034
    folder.write("a.tif", bytes);
    EXPECT_NE(refusal(file).find("number 50034"), std::string::npos);
}

// A stack whose file was cut off between its pages must not pass for a short one, nor a ring of pages for a chain.
TEST(TiffPicture, aBrokenChainOfPagesIsToldOf) {
    const TemporaryFolder folder;
    const std::string file = folder.file("a.tif");
    TIFF* tiff = TIFFOpen(file.c_str(), "wl");
    for (int page = 0; page < 3; ++page)
        TiffMaker().writePage(tiff, [page](int, int, int) { return std::uint64_t(page); });
    TIFFClose(tiff);
    const std::string whole = folder.read("a.tif");
    EXPECT_TRUE(ImageFile::open(file)->getLayout().warnings.empty());
    const auto wordAt = [&whole](std::size_t at, std::size_t length) {
        std::size_t value = 0;
        std::memcpy(&value, &whole[at], length); // little-endian, as the machine
        return value;
    };
    std::size_t directory = wordAt(4, 4);
    for (int page = 1; page < 3; ++page)
        directory = wordAt(directory + 2 + 12 * wordAt(directory, 2), 4);
    const std::size_t link = directory + 2 + 12 * wordAt(directory, 2);
    for (const std::size_t place : {wordAt(4, 4), whole.size() + 100, directory}) {
        std::string broken = whole;
        std::memcpy(&broken[link], &place, 4);
        const std::string name = "broken" + std::to_string(place) + ".tif"; // pages of a file are kept by its identity
        folder.write(name, broken);
        const StackLayout layout = ImageFile::open(folder.file(name))->getLayout();
        EXPECT_EQ(layout.planes.size(), 3u);
        ASSERT_EQ(layout.warnings.size(), 1u);
        EXPECT_NE(layout.warnings[0].find("behind page 3"), std::string::npos) << layout.warnings[0];
    }
}

// A blank picture may be a few bytes, but sizes beyond that must be borne out by the file.
TEST(TiffPicture, blankPicturesOfGoodCodecsAreReadAndBoundlessSizesAreNot) {
    const TemporaryFolder folder;
    const std::string file = folder.file("a.tif");
    for (const int compression : {COMPRESSION_LERC, COMPRESSION_WEBP, COMPRESSION_ZSTD}) {
        if (!TIFFIsCODECConfigured(std::uint16_t(compression)))
            continue;
        const int side = 3000, samples = compression == COMPRESSION_WEBP ? 3 : 1;
        TIFF* tiff = TIFFOpen(file.c_str(), "w");
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, side);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, side);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, side);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, samples == 3 ? 8 : 16);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
        for (int i = 0; i < side; ++i) {
            std::string row(std::size_t(side) * (samples == 3 ? 3 : 2), 7);
            TIFFWriteScanline(tiff, row.data(), std::uint32_t(i), 0);
        }
        TIFFClose(tiff);
        EXPECT_LT(std::filesystem::file_size(file), 20000u) << compression;
        const Image image(file, "");
        EXPECT_NEAR(image.getPixels()[side - 1][2 * side - 1], 7, 2) << compression;
    }
    TiffMaker maker;
    maker.compression = COMPRESSION_ADOBE_DEFLATE;
    maker.tile = 16;
    maker.write(file, [](int, int, int) { return std::uint64_t(7); });
    std::string bytes = folder.read("a.tif");
    for (const char tag : {'\x00', '\x01'}) { // width and length, one word each
        const std::size_t at = bytes.find(std::string({tag, '\x01', '\x03', '\x00', '\x01', '\x00', '\x00', '\x00'}));
        ASSERT_NE(at, std::string::npos);
        bytes.replace(at + 8, 2, "\xff\xff");
    }
    folder.write("a.tif", bytes);
    EXPECT_NE(refusal(file), "");
}

} // namespace vorlen
