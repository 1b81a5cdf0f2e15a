#include "images/files/slideimagefile.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <tiffio.h>

#include "images/files/imagereader.h"
#include "images/files/tiffentries.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "support/temporaryfolder.h"

namespace vorlen {

namespace {

/// Adds a picture in tiles to a TIFF file: red is the column, green the row, blue is given. Of one without
/// tiles only the first is written.
void addLevel(TIFF* tiff, int level, int width, int height, int tile, int blue, bool hasTiles = true) {
    if (level > 0)
        TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(tiff, TIFFTAG_TILEWIDTH, tile);
    TIFFSetField(tiff, TIFFTAG_TILELENGTH, tile);
    TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 20000.0);
    TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 10000.0);
    TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
    std::vector<unsigned char> bytes(std::size_t(tile) * std::size_t(tile) * 3);
    for (int top = 0; top < (hasTiles ? height : 1); top += tile)
        for (int left = 0; left < (hasTiles ? width : 1); left += tile) {
            for (int i = 0; i < tile; ++i)
                for (int j = 0; j < tile; ++j) {
                    unsigned char* const pixel = &bytes[3 * std::size_t(i * tile + j)];
                    pixel[0] = static_cast<unsigned char>(left + j);
                    pixel[1] = static_cast<unsigned char>(top + i);
                    pixel[2] = static_cast<unsigned char>(blue);
                }
            TIFFWriteTile(tiff, bytes.data(), std::uint32_t(left), std::uint32_t(top), 0, 0);
        }
    TIFFWriteDirectory(tiff);
}

} // namespace

TEST(SlideImageFile, eachLevelIsAPageWithItsPixelsAndTheirSize) {
    const TemporaryFolder folder;
    const std::string name = folder.file("slide.tif");
    TIFF* tiff = TIFFOpen(name.c_str(), "w");
    addLevel(tiff, 0, 300, 520, 128, 10);
    addLevel(tiff, 1, 150, 260, 128, 90);
    TIFFClose(tiff);
    EXPECT_EQ(ImageFile::open(name)->getFormat(), TiffImageFormat); // small as it is
    SlideImageFile slide(name);
    ASSERT_EQ(slide.getNumPages(), 2);
    for (const int level : {0, 1}) {
        const ImagePage page = slide.getPage(level);
        ASSERT_EQ(page.width, 300 >> level);
        ASSERT_EQ(page.height, 520 >> level);
        ASSERT_TRUE(page.hasPixelSize);
        EXPECT_NEAR(page.calibration.getPixelWidth(), level == 0 ? 0.5 : 1, 1e-5); // micrometers
        EXPECT_NEAR(page.calibration.getPixelHeight(), level == 0 ? 1 : 2, 1e-5);
        Image image;
        ImageReader().read(image, slide, level, 0);
        ASSERT_EQ(image.getDepth(), 24);
        for (int i = 0; i < page.height; ++i)
            for (int j = 0; j < page.width; ++j) {
                const unsigned char* const pixel = image.getPixels()[i] + 3 * j;
                ASSERT_EQ(pixel[0], j & 255) << i << ' ' << j;
                ASSERT_EQ(pixel[1], i & 255) << i << ' ' << j;
                ASSERT_EQ(pixel[2], level == 0 ? 10 : 90) << i << ' ' << j;
            }
    }
    EXPECT_EQ(slide.getLayout().planes[0].page, 0);
    EXPECT_THROW(slide.getPage(2), RangeError);
    folder.write("text.tif", "no slide");
    EXPECT_THROW(SlideImageFile(folder.file("text.tif")), FileError);
}

// The first levels have one tile alone: they would take 216 MB of memory.
TEST(SlideImageFile, theLargestLevelWithinTheLimitIsTakenAndNoneRefused) {
    const TemporaryFolder folder;
    const std::string name = folder.file("large.tif"), huge = folder.file("huge.tif");
    TIFF* tiff = TIFFOpen(name.c_str(), "w");
    addLevel(tiff, 0, 9000, 8000, 2048, 0, false);
    addLevel(tiff, 1, 225, 200, 128, 90);
    addLevel(tiff, 2, 45, 40, 128, 50);
    TIFFClose(tiff);
    const auto file = ImageFile::open(name);
    ASSERT_EQ(file->getFormat(), SlideImageFormat);
    const StackLayout layout = file->getLayout();
    ASSERT_EQ(layout.numPlanes, 1);
    EXPECT_EQ(layout.planes[0].page, 1);
    EXPECT_NEAR(layout.pixelWidth.value_or(0), 20, 1e-3); // 40 times half a micrometer
    ASSERT_EQ(layout.warnings.size(), 1u);
    EXPECT_NE(layout.warnings[0].find("number 2 is taken"), std::string::npos) << layout.warnings[0];
    Image image;
    ImageReader().read(image, name, 1, 0);
    EXPECT_EQ(image.getWidth(), 225);
    EXPECT_EQ(image.getPixels()[0][2], 90);
    tiff = TIFFOpen(huge.c_str(), "w");
    addLevel(tiff, 0, 9000, 8000, 2048, 0, false);
    TIFFClose(tiff);
    try {
        ImageFile::open(huge)->getLayout();
        ADD_FAILURE() << "not refused";
    } catch (const FileFormatError& error) {
        EXPECT_EQ(error.getFile(), huge);
        EXPECT_NE(error.getWhat().find("9000 x 8000"), std::string::npos);
    }
}

// OpenSlide takes the memory for the values of every entry before it reads them, and for a tile before it decodes it.
TEST(SlideImageFile, entriesThatAskForMoreThanTheFileHasAreNotGivenToTheSlideReader) {
    const TemporaryFolder folder;
    for (const bool isBig : {false, true}) {
        const std::string name = folder.file("slide.tif");
        TIFF* tiff = TIFFOpen(name.c_str(), isBig ? "w8" : "w");
        addLevel(tiff, 0, 300, 520, 128, 10);
        addLevel(tiff, 1, 150, 260, 128, 90);
        TIFFClose(tiff);
        ASSERT_TRUE(hasBelievableEntries(name));
        const std::string whole = folder.read("slide.tif");
        const std::size_t entrySize = isBig ? 20 : 12, fieldSize = isBig ? 8 : 4;
        const auto number = [&whole](std::size_t at, std::size_t size) {
            std::uint64_t value = 0;
            for (std::size_t i = size; i-- > 0;)
                value = value << 8 | static_cast<unsigned char>(whole[at + i]);
            return std::size_t(value);
        };
        const auto isBelieved = [&](std::size_t at, const std::string& value) {
            std::string bytes = whole;
            bytes.replace(at, value.size(), value);
            folder.write("slide.tif", bytes);
            return hasBelievableEntries(name);
        };
        int numEntries = 0;
        for (std::size_t at = number(isBig ? 8 : 4, fieldSize); at != 0;) {
            const std::size_t number0 = number(at, isBig ? 8 : 2), start = at + (isBig ? 8 : 2);
            for (std::size_t i = 0; i < number0; ++i, ++numEntries) {
                const std::size_t entry = start + i * entrySize;
                EXPECT_FALSE(isBelieved(entry + 4, std::string(fieldSize, '\x7f'))) << numEntries;
                if (number(entry, 2) == TIFFTAG_TILEWIDTH) { // in two bytes, then in four
                    EXPECT_TRUE(isBelieved(entry + 4 + fieldSize, "\xff\xff"));
                    EXPECT_FALSE(isBelieved(entry + 2, std::string("\4\0\1\0\0\0", 6) +
                                                           std::string(isBig ? 4 : 0, '\0') + "\xff\xff\xff\x0f"));
                }
            }
            const std::size_t next = start + number0 * entrySize;
            if (number(next, fieldSize) == 0) { // a directory that is met again ends the walk
                EXPECT_TRUE(isBelieved(next, whole.substr(isBig ? 8 : 4, fieldSize)));
            }
            at = number(next, fieldSize);
        }
        EXPECT_GT(numEntries, 20);
        EXPECT_EQ(ImageFile::open(name)->getFormat(), TiffImageFormat); // the last one tried
        folder.write("slide.tif", whole.substr(0, 16));
        EXPECT_TRUE(hasBelievableEntries(name)); // nothing follows
    }
    EXPECT_FALSE(hasBelievableEntries(folder.file("none.tif")));
}

// Each value is as long as the file, each directory within the one before: a square of the file's length in all.
TEST(SlideImageFile, directoriesThatLieOverOneAnotherAreNotGivenToTheSlideReader) {
    const TemporaryFolder folder;
    std::string bytes("II*\0\10\0\0\0\0\0", 10);
    const auto add = [&bytes](std::uint64_t value, int size) {
        for (int i = 0; i < size; ++i)
            bytes += char(value >> 8 * i & 255);
    };
    constexpr std::uint64_t numEntries = 50000, length = 12 * numEntries;
    bytes[8] = char(numEntries & 255);
    bytes[9] = char(numEntries >> 8);
    for (std::uint64_t i = 0; i < numEntries; ++i) {
        add(40000 + i % 20000, 2);
        add(1, 2);
        add(length, 4);
        add(8, 4);
    }
    add(0, 4);
    folder.write("slide.tif", bytes);
    EXPECT_FALSE(hasBelievableEntries(folder.file("slide.tif")));
}

// OpenSlide gives nothing more after an error: each file is opened anew, and named in what is thrown.
TEST(SlideImageFile, damagedSlidesAreReadOrToldOfByName) {
    const TemporaryFolder folder;
    const std::string name = folder.file("slide.tif");
    TIFF* tiff = TIFFOpen(name.c_str(), "w");
    addLevel(tiff, 0, 140, 130, 64, 10);
    addLevel(tiff, 1, 70, 65, 64, 90);
    TIFFClose(tiff);
    const std::string whole = folder.read("slide.tif");
    int failures = 0;
    const auto tryOut = [&](const std::string& bytes) {
        folder.write("slide.tif", bytes);
        try {
            SlideImageFile slide(name);
            for (int level = 0; level < slide.getNumPages(); ++level) {
                if (std::int64_t(slide.getPage(level).width) * slide.getPage(level).height > 1 << 20)
                    continue; // what takes the time is no fault
                Image image;
                ImageReader().read(image, slide, level, 0);
            }
        } catch (const FileError& error) {
            EXPECT_EQ(error.getFile(), name);
            ++failures;
        }
    };
    for (std::size_t length = 0; length < whole.size(); length += 1 + whole.size() / 25)
        tryOut(whole.substr(0, length));
    EXPECT_GE(failures, 25);
    for (std::size_t at = 0; at < whole.size(); at += 1 + whole.size() / 60) {
        std::string bytes = whole;
        bytes[at] = char(bytes[at] ^ 0xa5);
        tryOut(bytes);
    }
    EXPECT_GT(failures, 30);
}

} // namespace vorlen
