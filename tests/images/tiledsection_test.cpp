#include "images/sections/tiledsection.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "images/files/imagereader.h"
#include "images/rasters/colormapexpansion.h"
#include "images/rasters/image.h"
#include "images/sections/imagebands.h"
#include "images/sections/levelbuilder.h"
#include "images/sections/sectionfile.h"
#include "numerics/exception.h"
#include "support/heldmemory.h"
#include "support/sharedtiles.h"
#include "support/temporaryfolder.h"
#include "support/tiffmaker.h"

namespace vorlen {

namespace {

/// Whether an image is a rectangle of a whole one, pixel by pixel.
bool isPartOf(const Image& part, const Image& whole, int x, int y) {
    if (part.getDepth() != whole.getDepth() || part.isReal() != whole.isReal())
        return false;
    const auto length = std::size_t(part.bytesPerPixel());
    for (int i = 0; i < part.getHeight(); ++i)
        if (std::memcmp(part.getPixels()[i], whole.getPixels()[y + i] + length * std::size_t(x),
                        length * std::size_t(part.getWidth())) != 0)
            return false;
    return true;
}

std::uint64_t scattered(int row, int column, int sample) {
    return (std::uint64_t(row) * 7919 + std::uint64_t(column) * 104729 + std::uint64_t(sample) * 31) * 2654435761u >> 7;
}

std::string message(const std::function<void()>& work) {
    try {
        work();
    } catch (const Exception& error) {
        return error.getWhat();
    }
    return "nothing was thrown";
}

} // namespace

// Tiles and strips, packed samples, planes, conversions: each way that rectangles are cut out of blocks.
TEST(TiledSection, rectanglesHaveThePixelsOfTheWhole) {
    const TemporaryFolder folder;
    struct Kind {
        const char* name;
        int samples, bits, format, photometric, planar;
    };
    const Kind kinds[] = {{"bytes", 1, 8, SAMPLEFORMAT_UINT, PHOTOMETRIC_MINISBLACK, PLANARCONFIG_CONTIG},
                          {"bits", 1, 1, SAMPLEFORMAT_UINT, PHOTOMETRIC_MINISBLACK, PLANARCONFIG_CONTIG},
                          {"12 bits", 1, 12, SAMPLEFORMAT_UINT, PHOTOMETRIC_MINISBLACK, PLANARCONFIG_CONTIG},
                          {"inverted words", 1, 16, SAMPLEFORMAT_UINT, PHOTOMETRIC_MINISWHITE, PLANARCONFIG_CONTIG},
                          {"signed", 1, 16, SAMPLEFORMAT_INT, PHOTOMETRIC_MINISBLACK, PLANARCONFIG_CONTIG},
                          {"colours", 3, 8, SAMPLEFORMAT_UINT, PHOTOMETRIC_RGB, PLANARCONFIG_CONTIG},
                          {"colours in planes", 3, 8, SAMPLEFORMAT_UINT, PHOTOMETRIC_RGB, PLANARCONFIG_SEPARATE},
                          {"inks", 4, 8, SAMPLEFORMAT_UINT, PHOTOMETRIC_SEPARATED, PLANARCONFIG_CONTIG},
                          {"palette", 1, 8, SAMPLEFORMAT_UINT, PHOTOMETRIC_PALETTE, PLANARCONFIG_CONTIG}};
    for (const Kind& kind : kinds)
        for (const int tile : {0, 16}) {
            TiffMaker maker;
            maker.width = 61;
            maker.height = 47;
            maker.samples = kind.samples;
            maker.bits = kind.bits;
            maker.format = kind.format;
            maker.photometric = kind.photometric;
            maker.planar = kind.planar;
            maker.tile = tile;
            maker.rowsPerStrip = 5;
            maker.compression = COMPRESSION_ADOBE_DEFLATE;
            if (kind.photometric == PHOTOMETRIC_PALETTE)
                for (int i = 0; i < 768; ++i)
                    maker.palette.push_back(static_cast<std::uint16_t>(i * 12345));
            const std::string name = folder.file("part.tif");
            maker.write(name, scattered);
            Image whole;
            ImageReader().read(whole, name);
            ColormapExpansion::removeColormap(whole);
            SectionFile file(name, 0, 0);
            ASSERT_EQ(file.getLevels().size(), 1u) << kind.name;
            EXPECT_EQ(file.getHeader().getDepth(), whole.getDepth()) << kind.name;
            const PixelWindow parts[] = {
                {0, 0, 61, 47}, {5, 3, 20, 17}, {60, 46, 1, 1}, {13, 16, 33, 1}, {16, 15, 16, 32}};
            for (const PixelWindow& part : parts) {
                Image image;
                ASSERT_TRUE(file.read(image, 0, part));
                ASSERT_EQ(image.getWidth(), part.width);
                ASSERT_EQ(image.getHeight(), part.height);
                EXPECT_TRUE(isPartOf(image, whole, part.x, part.y)) << kind.name << ' ' << tile << ' ' << part.x;
            }
            Image image;
            for (const PixelWindow& part :
                 {PixelWindow{0, 0, 62, 1}, PixelWindow{-1, 0, 2, 2}, PixelWindow{3, 3, 0, 1}})
                EXPECT_THROW(file.read(image, 0, part), RangeError);
            EXPECT_THROW(file.read(image, 1, {0, 0, 1, 1}), RangeError);
        }
    TiffMaker turned;
    turned.orientation = 6;
    turned.write(folder.file("turned.tif"), scattered);
    EXPECT_TRUE(SectionFile(folder.file("turned.tif"), 0, 0).getLevels().empty());
}

TEST(TiledSection, levelsOfAFileAreItsSmallerCopies) {
    const TemporaryFolder folder;
    const std::string name = folder.file("levels.tif");
    TIFF* tiff = TIFFOpen(name.c_str(), "w");
    const auto page = [&](int width, int height, std::uint64_t value, bool smaller, int bits = 16) {
        TiffMaker maker;
        maker.width = width;
        maker.height = height;
        maker.bits = bits;
        maker.tile = 16;
        if (smaller)
            TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
        maker.writePage(tiff, [value](int, int, int) { return value; });
    };
    std::uint64_t own[] = {0, 0};
    TIFFSetField(tiff, TIFFTAG_SUBIFD, 2, own); // the next two directories
    page(200, 120, 1000, false);
    page(100, 60, 1001, true);
    page(50, 30, 1002, true);
    page(160, 160, 2000, false);
    page(80, 80, 2001, true);
    page(40, 40, 200, true, 8); // of another type
    page(30, 90, 2002, true);   // of another shape: a label
    page(20, 20, 2003, true);
    TIFFClose(tiff);
    const std::vector<std::vector<int>> expected{{200, 100, 50}, {160, 80, 20}};
    const std::vector<std::vector<int>> values{{1000, 1001, 1002}, {2000, 2001, 2003}};
    for (const int i : {0, 1}) {
        TiledSection section(name, i, 0, LevelStore(folder.file("store")));
        EXPECT_TRUE(section.isBuilt());
        const auto levels = section.getLevels();
        ASSERT_EQ(levels.size(), 3u) << i;
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_EQ(levels[k].width, expected[std::size_t(i)][k]);
            Image image;
            ASSERT_TRUE(section.read(image, int(k), {0, 0, levels[k].width, levels[k].height}));
            EXPECT_EQ(reinterpret_cast<const std::uint16_t*>(image.getData())[7], values[std::size_t(i)][k]);
        }
        EXPECT_EQ(section.levelFor(0.3), 0);
        EXPECT_EQ(section.levelFor(2.6), 1);
        EXPECT_EQ(section.levelFor(1000), 2);
    }
}

TEST(TiledSection, aSectionBeyondMemoryIsReadWhereItIsLookedAt) {
    const TemporaryFolder folder;
    const std::string name = SharedTiles::write(folder, "huge.tif", 100000, 80000, 4);
    const long before = heldMemory();
    TiledSection section(name, 0, 0, LevelStore(folder.file("store")), std::size_t(16) << 20);
    EXPECT_EQ(section.getHeader().getWidth(), 100000);
    EXPECT_TRUE(section.isBuilt());
    const auto levels = section.getLevels();
    ASSERT_EQ(levels.size(), 4u);
    EXPECT_EQ(levels[3].width, 1563);
    Image overview;
    ASSERT_TRUE(section.readOverview(overview, 1000, std::chrono::seconds(1)));
    EXPECT_EQ(overview.getWidth(), 782);
    const int places[][3] = {{0, 99000, 79200}, {0, 50123, 40321}, {1, 20011, 7}, {2, 5250, 4200}};
    for (const auto& [level, x, y] : places) {
        Image image;
        ASSERT_TRUE(section.read(image, level, {x, y, 900, 700}));
        for (const int i : {0, 311, 699})
            for (int j = 0; j < 900; ++j)
                ASSERT_EQ(image.getPixels()[i][j], SharedTiles::value(level, y + i, x + j))
                    << level << ' ' << i << ' ' << j;
    }
    // Over the whole width: 196 tiles, of which 64 may stay.
    for (int x = 0; x + 1000 <= 100000; x += 1000)
        ASSERT_TRUE(section.load(0, {x, 300, 1000, 100}));
    EXPECT_NE(section.findTile(0, 194, 0), nullptr);
    EXPECT_EQ(section.findTile(0, 0, 0), nullptr);
    EXPECT_LT(heldMemory() - before, 150L << 20);
    // Its header is taken; all of its pixels are not, before memory is asked for.
    ImageHeader header;
    ImageReader().read(header, name);
    EXPECT_EQ(header.getHeight(), 80000);
    Image all;
    EXPECT_NE(message([&] { ImageReader().read(all, name); }).find("too few bytes"), std::string::npos);
    EXPECT_TRUE(TiledSection::isLarge(100000, 80000, 8));
    EXPECT_FALSE(TiledSection::isLarge(8192, 8192, 24));
    EXPECT_TRUE(TiledSection::isLarge(8192, 8192, 64));
}

TEST(TiledSection, withoutLevelsTheFirstPictureIsMadeOfPixelsHereAndThere) {
    const TemporaryFolder folder;
    const std::string name = SharedTiles::write(folder, "flat.tif", 100000, 80000, 1);
    TiledSection section(name, 0, 0, LevelStore(folder.file("store")));
    EXPECT_FALSE(section.isBuilt());
    Image overview;
    ASSERT_TRUE(section.readOverview(overview, 500, std::chrono::milliseconds(100)));
    EXPECT_EQ(overview.getWidth(), 500);
    EXPECT_EQ(overview.getHeight(), 400);
    // Every pixel is one of the picture; with all time, the one of its place.
    for (std::size_t k = 0; k < overview.dataLength(); ++k)
        ASSERT_EQ(overview.getData()[k] % 5, 0);
    const std::string smaller = SharedTiles::write(folder, "smaller.tif", 9000, 6000, 1);
    TiledSection other(smaller, 0, 0, LevelStore(folder.file("store")));
    ASSERT_TRUE(other.readOverview(overview, 90, std::chrono::seconds(20)));
    for (const int i : {0, 31, 59})
        for (const int j : {0, 44, 89})
            EXPECT_EQ(overview.getPixels()[i][j], SharedTiles::value(0, i * 100 + 50, j * 100 + 50)) << i << ' ' << j;
    std::stop_source stopped;
    stopped.request_stop();
    EXPECT_FALSE(other.readOverview(overview, 90, std::chrono::seconds(20), stopped.get_token()));
}

TEST(TiledSection, aPictureThatHasNoPartsIsMadeSmallWithTheMemoryOfSomeRows) {
    const TemporaryFolder folder;
    const std::string name = folder.file("strip.tif");
    TiffMaker maker;
    maker.compression = COMPRESSION_LZW;
    maker.width = 301;
    maker.height = 207;
    for (const int bits : {8, 16})
        for (const int samples : {1, 3}) {
            if (bits == 16 && samples == 3)
                continue;
            maker.bits = bits;
            maker.samples = samples;
            maker.photometric = samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
            maker.write(name, scattered);
            Image expected, image;
            ImageReader().read(expected, name);
            for (int k = 0; k < 3; ++k)
                expected = LevelBuilder::halved(expected);
            ASSERT_TRUE(readReduced(image, name, 0, 0, 40));
            ASSERT_EQ(image.getWidth(), 38);
            ASSERT_EQ(image.getHeight(), 26);
            EXPECT_TRUE(isPartOf(image, expected, 0, 0)) << bits << ' ' << samples;
            EXPECT_FALSE(readReduced(image, name, 0, 0, 40, [](double done) { return done < 0.5; }));
            EXPECT_EQ(image.getWidth(), 38);
        }
    maker = TiffMaker();
    maker.compression = COMPRESSION_LZW;
    maker.width = maker.height = 7000;
    maker.write(name, [](int i, int j, int) { return std::uint64_t(i / 100 + j / 100); });
    const long before = heldMemory();
    long most = 0;
    Image image;
    ASSERT_TRUE(readReduced(image, name, 0, 0, 1024, [&most](double) {
        most = std::max(most, heldMemory());
        return true;
    }));
    EXPECT_EQ(image.getPixels()[500][300], (500 * 8 + 3) / 100 + (300 * 8 + 3) / 100);
    EXPECT_LT(most - before, 16L << 20); // of 47 MiB
}

// Of each kind of image, and of a file that can only be read as a whole.
TEST(TiledSection, missingLevelsAreMadeOnceAndFoundAgain) {
    const TemporaryFolder folder;
    const LevelStore store(folder.file("store"));
    struct Kind {
        int samples, bits, format;
    };
    for (const Kind& kind : {Kind{1, 8, SAMPLEFORMAT_UINT}, Kind{1, 16, SAMPLEFORMAT_UINT},
                             Kind{3, 8, SAMPLEFORMAT_UINT}, Kind{1, 32, SAMPLEFORMAT_IEEEFP}}) {
        TiffMaker maker;
        maker.width = 4501; // so that a last column has one pixel alone
        maker.height = 37;
        maker.samples = kind.samples;
        maker.photometric = kind.samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
        maker.bits = kind.bits;
        maker.format = kind.format;
        maker.rowsPerStrip = 5;
        const bool isReal = kind.format == SAMPLEFORMAT_IEEEFP;
        const std::string name = folder.file("wide.tif");
        maker.write(name, [isReal](int i, int j, int k) {
            return !isReal ? scattered(i, j, k)
                           : bitsOf((i + j) % 11 == 3 ? std::numeric_limits<float>::quiet_NaN() : float(i * 3 - j));
        });
        Image whole;
        ImageReader().read(whole, name);
        {
            TiledSection section(name, 0, 0, store);
            ASSERT_FALSE(section.isBuilt());
            double last = 0;
            ASSERT_TRUE(section.build({}, [&last](double done) { last = done; }));
            EXPECT_NEAR(last, 1, 0.02);
        }
        TiledSection section(name, 0, 0, store);
        ASSERT_TRUE(section.isBuilt());
        const auto levels = section.getLevels();
        ASSERT_EQ(levels.size(), 4u); // 4501, 2251, 1126, 563
        EXPECT_EQ(levels[3].width, 563);
        EXPECT_EQ(levels[3].reduction, 8);
        Image image;
        ASSERT_TRUE(section.read(image, 1, {0, 0, 2251, 19}));
        for (int i = 0; i < 19; ++i)
            for (int j = 0; j < 2251; ++j) {
                double sum = 0;
                int number = 0;
                for (const int y : {2 * i, 2 * i + 1})
                    for (const int x : {2 * j, 2 * j + 1}) {
                        if (y >= 37 || x >= 4501)
                            continue;
                        const double value = isReal ? double(whole.realRow(y)[x])
                                             : kind.bits == 16
                                                 ? reinterpret_cast<const std::uint16_t*>(whole.getPixels()[y])[x]
                                                 : whole.getPixels()[y][x * kind.samples];
                        if (!std::isnan(value)) {
                            sum += value;
                            ++number;
                        }
                    }
                const double made = isReal            ? double(image.realRow(i)[j])
                                    : kind.bits == 16 ? reinterpret_cast<const std::uint16_t*>(image.getPixels()[i])[j]
                                                      : image.getPixels()[i][j * kind.samples];
                ASSERT_NEAR(made, sum / number, isReal ? 1e-3 : 0.51) << kind.bits << ' ' << i << ' ' << j;
            }
    }
    // Another time of change: another picture.
    const std::string name = folder.file("wide.tif");
    std::filesystem::last_write_time(name, std::filesystem::file_time_type::clock::now() - std::chrono::hours(5));
    EXPECT_FALSE(TiledSection(name, 0, 0, store).isBuilt());
    std::stop_source stopped;
    stopped.request_stop();
    const std::uint64_t before = store.size();
    EXPECT_FALSE(TiledSection(name, 0, 0, store).build(stopped.get_token()));
    EXPECT_EQ(store.size(), before);
    EXPECT_THROW(TiledSection(name, 0, 0, LevelStore(folder.file("little"), 1000)).build({}), FileWriteError);
    EXPECT_EQ(LevelStore(folder.file("little")).size(), 0u);
    EXPECT_THROW(TiledSection(name, 0, 0, LevelStore("")).build({}), FileWriteError);
    // A level that was cut off is made again.
    for (const auto& entry : std::filesystem::recursive_directory_iterator(store.getFolder()))
        if (entry.path().filename() == "2.tif")
            std::filesystem::resize_file(entry.path(), 100);
    ASSERT_TRUE(TiledSection(name, 0, 0, store).build({}));
    EXPECT_TRUE(TiledSection(name, 0, 0, store).isBuilt());
    std::ofstream(store.getFolder() + "/mine.txt") << "a file of the user";
    store.clear();
    EXPECT_EQ(store.size(), 18u);
    EXPECT_FALSE(TiledSection(name, 0, 0, store).isBuilt());
}

TEST(TiledSection, aFileThatIsReadAsAWholeIsKeptInFullSize) {
    const TemporaryFolder folder;
    // Turned by half: its rows come from the last to the first.
    TiffMaker maker;
    maker.width = 1100;
    maker.height = 600;
    maker.orientation = ORIENTATION_BOTLEFT;
    const std::string name = folder.file("turned.tif");
    maker.write(name, scattered);
    Image whole;
    ImageReader().read(whole, name);
    const LevelStore store(folder.file("store"));
    TiledSection section(name, 0, 0, store);
    EXPECT_TRUE(section.getLevels().empty());
    EXPECT_EQ(section.levelFor(1), -1);
    Image image;
    EXPECT_FALSE(section.readOverview(image, 100, std::chrono::seconds(1)));
    EXPECT_THROW(section.read(image, 0, {0, 0, 1, 1}), RangeError);
    ASSERT_TRUE(section.build({}));
    ASSERT_EQ(section.getLevels().size(), 2u);
    ASSERT_TRUE(section.read(image, 0, {201, 77, 800, 501}));
    EXPECT_TRUE(isPartOf(image, whole, 201, 77));
}

TEST(TiledSection, theStoreKeepsWhatWasUsedLast) {
    const TemporaryFolder folder;
    const std::string place = folder.file("store");
    TiffMaker maker;
    maker.width = 4200;
    maker.height = 40;
    std::vector<std::string> names;
    for (const int i : {0, 1, 2}) {
        names.push_back(folder.file(std::to_string(i) + ".tif"));
        maker.write(names.back(), scattered);
    }
    TiledSection(names[0], 0, 0, LevelStore(place)).build({});
    const std::uint64_t one = LevelStore(place).size();
    const LevelStore store(place, one * 5 / 2);
    TiledSection(names[1], 0, 0, store).build({});
    // The first one is older, and looked at last.
    const auto past = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    for (const auto& entry : std::filesystem::directory_iterator(place))
        std::filesystem::last_write_time(entry.path(), past);
    EXPECT_TRUE(TiledSection(names[0], 0, 0, store).isBuilt());
    TiledSection(names[2], 0, 0, store).build({});
    EXPECT_FALSE(TiledSection(names[1], 0, 0, store).isBuilt());
    EXPECT_TRUE(TiledSection(names[0], 0, 0, store).isBuilt());
    EXPECT_TRUE(TiledSection(names[2], 0, 0, store).isBuilt());
    EXPECT_LE(store.size(), store.getLimit());
}

// Sizes that tiles can't fill, tiles beyond the file, loops: an error, or a picture of what there is.
TEST(TiledSection, hostileFilesGiveErrorsInBoundedMemory) {
    const TemporaryFolder folder;
    SharedTiles::write(folder, "good.tif", 30000, 20000, 1);
    const std::string bytes = folder.read("good.tif");
    const long before = heldMemory();
    // The directories, and the numbers at both ends of the lists of tiles.
    std::uint64_t directory = 0;
    std::memcpy(&directory, &bytes[8], 8);
    std::vector<std::size_t> places;
    for (std::size_t at = std::size_t(directory); at < std::size_t(directory) + 8 + 11 * 20 + 8; at += 7)
        places.push_back(at);
    for (const std::size_t at : places)
        for (const int byte : {0x00, 0xff}) {
            std::string changed = bytes;
            changed[at] = static_cast<char>(byte);
            const std::string name = folder.write("changed.tif", changed);
            try {
                TiledSection section(name, 0, 0, LevelStore(folder.file("store")), std::size_t(8) << 20);
                Image image;
                section.readOverview(image, 64, std::chrono::milliseconds(1));
                const auto levels = section.getLevels();
                for (std::size_t k = 0; k < levels.size(); ++k)
                    section.read(image, int(k), {0, 0, std::min(levels[k].width, 32), std::min(levels[k].height, 32)});
            } catch (const FileError& error) {
                EXPECT_EQ(error.getFile(), name) << at;
                EXPECT_FALSE(error.getWhat().empty());
            }
        }
    EXPECT_LT(heldMemory() - before, 400L << 20);
    // A directory that follows itself.
    std::string looped = bytes;
    std::memcpy(&looped[std::size_t(directory) + 8 + 11 * 20], &directory, 8);
    EXPECT_EQ(
        TiledSection(folder.write("looped.tif", looped), 0, 0, LevelStore(folder.file("store"))).getLevels().size(),
        1u);
    // Cut off.
    folder.write("cut.tif", bytes.substr(0, std::size_t(directory) + 50));
    EXPECT_THROW(TiledSection(folder.file("cut.tif"), 0, 0, LevelStore(folder.file("store"))), FileError);
}

} // namespace vorlen
