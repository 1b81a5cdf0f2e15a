#include "images/files/imagereader.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "progress/progressmonitor.h"
#include "support/temporaryfolder.h"
#include "support/testimages.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>

namespace vorlen {

using TestImages::TiffRecipe;

namespace {

template <class Error>
void expectReadError(const std::string& filename, const std::string& where, const std::string& what) {
    try {
        ImageHeader header;
        ImageReader().read(header, filename);
        Image image;
        ImageReader().read(image, filename);
        FAIL() << "nothing was thrown";
    } catch (const Error& error) {
        EXPECT_EQ(error.getWhere(), where);
        EXPECT_EQ(error.getWhat(), what);
        EXPECT_EQ(error.getFile(), filename);
    }
}

class Recorder : public ProgressMonitor {
public:
    using ProgressMonitor::subjectProgressed;
    void subjectStarted(const std::string&) override { events += 'S'; }
    void subjectFinished(const std::string&) override { events += 'F'; }
    void subjectCanceled(const std::string&) override { events += 'C'; }
    void subjectProgressed(unsigned int current, unsigned int total) override {
        events += 'p';
        lastTotal = total;
        if (current == cancelAt)
            currentSubject()->cancel();
    }

    std::string events;
    unsigned int cancelAt = 0;
    unsigned int lastTotal = 0;
};

void patch(const TemporaryFolder& folder, const std::string& name, std::size_t from, const std::string& bytes) {
    std::string content = folder.read(name);
    content.replace(from, bytes.size(), bytes);
    folder.write(name, content);
}

/// Offset of the value field of a tag of the first directory of a little-endian TIFF.
std::size_t valueOffset(const std::string& content, int tag) {
    const auto word = [&](std::size_t i) {
        return static_cast<unsigned char>(content[i]) | static_cast<unsigned char>(content[i + 1]) << 8;
    };
    const std::size_t directory = static_cast<std::size_t>(word(4) | word(6) << 16);
    for (int entry = 0; entry < word(directory); ++entry) {
        const std::size_t at = directory + 2 + 12 * static_cast<std::size_t>(entry);
        if (word(at) == tag)
            return at + 8;
    }
    return std::string::npos;
}

} // namespace

TEST(ImageFile, everyDepthReadsBackAsItWasWritten) {
    const TemporaryFolder folder;
    for (const int depth : {8, 16, 24, 32}) {
        const Image image = TestImages::ramp(37, 23, depth, 13, 5);
        ImageWriter().write(image, folder.file("a.tif"), true);
        Image back;
        back.readFile("a.tif", folder.path() + "/");
        EXPECT_TRUE(TestImages::samePixels(image, back)) << depth;
        EXPECT_FALSE(back.isIndexed());
        EXPECT_EQ(back.getHeader().getImageFormat(), TiffImageFormat);
    }
    EXPECT_EQ(folder.numFiles(), 1);
}

TEST(ImageFile, indexedImageReadsBackWithItsColormap) {
    const TemporaryFolder folder;
    Image image = TestImages::ramp(9, 9, 8);
    image.setColormap(TestImages::colors());
    image.writeFile("map.tif", folder.path());
    const Image back("map.tif", folder.path() + "/");
    ASSERT_TRUE(back.isIndexed());
    EXPECT_TRUE(*back.getColormap() == TestImages::colors());
    EXPECT_TRUE(TestImages::samePixels(image, back));
}

TEST(ImageFile, shortColormapIsPaddedToTheSizeThatTheFormatHas) {
    const TemporaryFolder folder;
    Image image = TestImages::uniform(3, 3, 8, 2);
    image.setColormap(Colormap::flag());
    image.writeFile("flag.tif", folder.path());
    const Image back("flag.tif", folder.path() + "/");
    ASSERT_TRUE(back.isIndexed());
    EXPECT_EQ(back.getColormap()->getSize(), 256);
    EXPECT_EQ(back.getColormap()->getRed()[2], 255);
    EXPECT_EQ(back.getColormap()->getRed()[16], 0);
}

TEST(ImageFile, readsEveryCompressionAndStripLayoutThatLibtiffDecodes) {
    const TemporaryFolder folder;
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_PACKBITS, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE})
        for (const int rowsPerStrip : {0, 1, 3})
            for (const auto& [bits, samples] : {std::pair{8, 1}, {16, 1}, {8, 3}, {8, 4}})
                for (const char* mode : {"wl", "wb"}) {
                    TiffRecipe recipe;
                    recipe.bits = bits;
                    recipe.samples = samples;
                    recipe.photometric = samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
                    recipe.compression = compression;
                    recipe.rowsPerStrip = rowsPerStrip;
                    recipe.mode = mode;
                    TestImages::writeTiff(folder.file("a.tif"), recipe);
                    const Image image("a.tif", folder.path() + "/");
                    ASSERT_EQ(image.getDepth(), bits * samples);
                    for (int i = 0; i < recipe.height; ++i)
                        for (int k = 0; k < image.bytesPerLine(); ++k)
                            ASSERT_EQ(image.getPixels()[i][k], (31 * i + 7 * k) % 256)
                                << compression << ' ' << rowsPerStrip << ' ' << bits << ' ' << samples << mode;
                }
}

TEST(ImageFile, highBytesOfAPaletteAreTaken) {
    const TemporaryFolder folder;
    TiffRecipe recipe;
    recipe.photometric = PHOTOMETRIC_PALETTE;
    TestImages::writeTiff(folder.file("p.tif"), recipe);
    ImageHeader header;
    ImageReader().read(header, folder.file("p.tif"));
    ASSERT_TRUE(header.hasColormap());
    EXPECT_EQ(header.getColormap()->getSize(), 256);
    EXPECT_TRUE(header.getColormap()->isIdentity());
}

TEST(ImageFile, imgNeedsItsFourDigitsAndItsSuffix) {
    const TemporaryFolder folder;
    std::string content = "0000--------";
    for (int k = 0; k < 512 * 512; ++k)
        content += static_cast<char>(k % 251);
    folder.write("a.img", content + "tail");
    folder.write("x.tif", content);
    ImageHeader header;
    ImageReader().read(header, folder.write("b.IMG", "0000"));
    EXPECT_EQ(header.getImageFormat(), ImgImageFormat);
    EXPECT_EQ(header.getHeight(), 512);
    EXPECT_EQ(header.getWidth(), 512);
    EXPECT_EQ(header.getDepth(), 8);
    const Image image("a.img", folder.path() + "/");
    EXPECT_EQ(std::memcmp(image.getData(), content.data() + 12, 512 * 512), 0);
    expectReadError<FileFormatError>(folder.file("x.tif"),
                                     "void ImageReader::readHeader(ImageHeader&,const string&) const",
                                     "Unrecognized image file format");
}

TEST(ImageFile, tailOfAShortImgFileIsZero) {
    const TemporaryFolder folder;
    folder.write("short.img", "0000--------" + std::string(700, 'x'));
    const Image image("short.img", folder.path() + "/");
    EXPECT_EQ(image.getData()[699], 'x');
    for (int k = 700; k < 512 * 512; ++k)
        ASSERT_EQ(image.getData()[k], 0);
    folder.write("shorter.img", "0000--");
    EXPECT_EQ(Image("shorter.img", folder.path() + "/").getData()[0], 0);
}

TEST(ImageFile, whatIsNoImageFileIsToldApartFromWhatCannotBeOpened) {
    const TemporaryFolder folder;
    const std::string cannotOpen = "void ImageReader::readHeader(ImageHeader&,const string&)";
    expectReadError<FileReadError>(folder.file("missing.tif"), cannotOpen, "Cannot open file for reading");
    expectReadError<FileReadError>(folder.path(), cannotOpen, "Cannot open file for reading");
    for (const std::string bytes : {"", "II", "GIF89a", "II+*", "IM**"})
        expectReadError<FileFormatError>(folder.write("x.tif", bytes),
                                         "void ImageReader::readHeader(ImageHeader&,const string&) const",
                                         "Unrecognized image file format");
    // Both magics pass the test of the format, and the rest of the file is then missing.
    for (const std::string bytes : {"II*x", "MMx*"})
        EXPECT_THROW(Image().readFile(folder.write("y.tif", bytes)), FileReadError);
}

TEST(ImageFile, headerThatPromisesMoreThanTheFileHoldsIsRefusedBeforeAnythingIsAllocated) {
    const TemporaryFolder folder;
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_PACKBITS, COMPRESSION_LZW}) {
        TiffRecipe recipe;
        recipe.compression = compression;
        TestImages::writeTiff(folder.file("a.tif"), recipe);
        const std::string content = folder.read("a.tif");
        patch(folder, "a.tif", valueOffset(content, TIFFTAG_IMAGELENGTH), std::string("\xf0\xff\x00\x00", 4));
        patch(folder, "a.tif", valueOffset(content, TIFFTAG_IMAGEWIDTH), std::string("\xf0\xff\x00\x00", 4));
        EXPECT_THROW(Image().readFile(folder.file("a.tif")), FileReadError) << compression;
    }
}

TEST(ImageFile, failureInMidFileNamesTheFileAndLeavesTheImageAlone) {
    const TemporaryFolder folder;
    TiffRecipe recipe;
    recipe.width = 64;
    recipe.height = 64;
    recipe.compression = COMPRESSION_LZW;
    recipe.rowsPerStrip = 8;
    const std::string file = folder.file("a.tif");
    TestImages::writeTiff(file, recipe);
    std::string content = folder.read("a.tif");
    for (std::size_t k = 400; k < 2000; ++k)
        content[k] = '\xff';
    folder.write("a.tif", content);
    Image image = TestImages::ramp(3, 3, 8);
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    try {
        ImageReader().read(image, file);
        FAIL() << "nothing was thrown";
    } catch (const FileReadError& error) {
        EXPECT_EQ(error.getFile(), file);
        EXPECT_EQ(error.getWhat().substr(0, 16), "Cannot read row ");
        EXPECT_NE(error.callStack().find("void ImageReader::read(...)"), std::string::npos);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr() + testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(TestImages::samePixels(image, TestImages::ramp(3, 3, 8)));
}

// Every prefix of a file either reads or raises a FileError; what reads has the file's size.
TEST(ImageFile, truncationAnywhereIsAClearError) {
    const TemporaryFolder folder;
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_ADOBE_DEFLATE}) {
        TiffRecipe recipe;
        recipe.width = 40;
        recipe.height = 10;
        recipe.rowsPerStrip = 3;
        recipe.compression = compression;
        TestImages::writeTiff(folder.file("whole.tif"), recipe);
        const std::string content = folder.read("whole.tif");
        int failures = 0;
        for (std::size_t length = 0; length < content.size(); length += 3) {
            folder.write("cut.tif", content.substr(0, length));
            try {
                const Image image("cut.tif", folder.path() + "/");
                EXPECT_EQ(image.getWidth(), 40);
            } catch (const FileError& error) {
                EXPECT_EQ(error.getFile(), folder.file("cut.tif"));
                ++failures;
            }
        }
        EXPECT_GT(failures, static_cast<int>(content.size() / 4));
    }
}

TEST(ImageReader, reportsEachRowAndEnds) {
    const TemporaryFolder folder;
    TestImages::writeTiff(folder.file("a.tif"), TiffRecipe());
    ImageReader reader;
    Recorder recorder;
    reader.addMonitor(recorder);
    Image image;
    reader.read(image, folder.file("a.tif"));
    EXPECT_EQ(recorder.events, "SppppF");
    EXPECT_EQ(recorder.lastTotal, 4u);
}

TEST(ImageReader, cancelledReadKeepsTheRowsSoFarAndSaysSo) {
    const TemporaryFolder folder;
    TestImages::writeTiff(folder.file("a.tif"), TiffRecipe());
    ImageReader reader;
    Recorder recorder;
    recorder.cancelAt = 2;
    reader.addMonitor(recorder);
    Image image;
    reader.read(image, folder.file("a.tif"));
    EXPECT_EQ(recorder.events, "SppC");
    EXPECT_EQ(image.getPixels()[1][1], 38);
    EXPECT_EQ(image.getPixels()[2][1], 0);
}

TEST(ImageWriter, compressionSizeOfThePixelAndRangeReadBack) {
    const TemporaryFolder folder;
    Image real;
    real.initReal(40, 30);
    for (int k = 0; k < 1200; ++k)
        real.realRow(0)[k] = float(k) / 8 - 50;
    PixelCalibration calibration;
    calibration.setLengthUnit(LengthUnit(-3));
    calibration.setPixelWidth(0.002f);
    calibration.setPixelHeight(0.004f);
    for (const auto compression :
         {ImageWriter::Compression::None, ImageWriter::Compression::Deflate, ImageWriter::Compression::Zstd})
        for (Image image : {TestImages::ramp(37, 23, 8), TestImages::ramp(37, 23, 16), TestImages::ramp(37, 23, 24),
                            TestImages::ramp(37, 23, 32), real}) {
            ImageHeader header = image.getHeader();
            header.setPixelCalibration(calibration);
            image.setHeader(header);
            ImageWriter writer;
            writer.setCompression(compression);
            writer.write(image, folder.file("a.tif"), true);
            const Image back(folder.file("a.tif"), "");
            EXPECT_TRUE(TestImages::samePixels(image, back)) << image.getDepth();
            EXPECT_EQ(back.isReal(), image.isReal());
            ImageReader().read(header, folder.file("a.tif"));
            EXPECT_EQ(header.getPixelCalibration().getLengthUnit(), LengthUnit(-6));
            EXPECT_NEAR(header.getPixelCalibration().getPixelWidth(), 2, 1e-5);
            EXPECT_NEAR(header.getPixelCalibration().getPixelHeight(), 4, 1e-5);
        }
    TIFF* tiff = TIFFOpen(folder.file("a.tif").c_str(), "r"); // the real one, by Zstd
    std::uint16_t compression = 0;
    double least = 0, greatest = 0;
    TIFFGetField(tiff, TIFFTAG_COMPRESSION, &compression);
    TIFFGetField(tiff, TIFFTAG_SMINSAMPLEVALUE, &least);
    TIFFGetField(tiff, TIFFTAG_SMAXSAMPLEVALUE, &greatest);
    TIFFClose(tiff);
    EXPECT_EQ(compression, COMPRESSION_ZSTD);
    EXPECT_EQ(least, -50);
    EXPECT_EQ(greatest, 1199.0 / 8 - 50);
}

TEST(ImageWriter, overwritesOnlyWhenTold) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.tif", "precious");
    const Image image = TestImages::ramp(4, 4, 8);
    try {
        ImageWriter().write(image, file, false);
        FAIL() << "nothing was thrown";
    } catch (const FileWriteError& error) {
        EXPECT_EQ(error.getWhere(), "void ImageWriter::write(...)");
        EXPECT_EQ(error.getWhat(), "File already exists");
        EXPECT_EQ(error.getFile(), file);
    }
    EXPECT_EQ(folder.read("a.tif"), "precious");
    ImageWriter().write(image, file, true);
    EXPECT_TRUE(TestImages::samePixels(Image(file, ""), image));
    EXPECT_EQ(folder.numFiles(), 1);
}

TEST(ImageWriter, failedWriteLeavesNothingBehind) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.tif", "precious");
    EXPECT_THROW(ImageWriter().write(Image(), file, true), FileWriteError);
    EXPECT_EQ(folder.read("a.tif"), "precious");
    try {
        ImageWriter().write(TestImages::ramp(4, 4, 8), folder.file("no/such/a.tif"), false);
        FAIL() << "nothing was thrown";
    } catch (const FileWriteError& error) {
        EXPECT_EQ(error.getWhat(), "Cannot open file for writing");
    }
    for (const std::string& name : {folder.path(), std::string("/dev/null")})
        EXPECT_THROW(ImageWriter().write(TestImages::ramp(4, 4, 8), name, true), FileWriteError);
    EXPECT_EQ(folder.numFiles(), 1);
}

TEST(ImageWriter, keepsALinkAndThePermissionsOfTheFileItReplaces) {
    const TemporaryFolder folder;
    const std::string file = folder.write("real.tif", "old");
    std::filesystem::permissions(file, std::filesystem::perms(0640));
    std::filesystem::create_symlink("real.tif", folder.file("link.tif"));
    ImageWriter().write(TestImages::ramp(4, 4, 8), folder.file("link.tif"), true);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.tif")));
    EXPECT_EQ(Image(file, "").getWidth(), 4);
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0640));
}

} // namespace vorlen
