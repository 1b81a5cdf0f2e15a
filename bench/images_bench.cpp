#include "images/files/imagereader.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "images/sections/tiledsection.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include <tiffio.h>

namespace vorlen {

namespace {

const int SIDE = 4096;

std::string path(const std::string& name) {
    return (std::filesystem::temp_directory_path() / ("vorlen-bench-" + std::to_string(::getpid()) + name)).string();
}

/// Gray image of 4096 by 4096 pixels from an integer hash.
const Image& picture() {
    static const Image image = [] {
        Image made(SIDE, SIDE, 8);
        for (std::size_t k = 0; k < made.dataLength(); ++k)
            made.getData()[k] = static_cast<unsigned char>((k * 2654435761u) >> 24);
        return made;
    }();
    return image;
}

/// The picture as a file, gone at the end of the program.
class PictureFile {
public:
    PictureFile() : name(path(".tif")) { ImageWriter().write(picture(), name, true); }
    ~PictureFile() { std::filesystem::remove(name); }
    const std::string name;
};

const std::string& pictureFile() {
    static const PictureFile file;
    return file.name;
}

void tiffRead(benchmark::State& state) {
    const std::string& name = pictureFile();
    for (auto _ : state) {
        Image image;
        ImageReader().read(image, name);
        benchmark::DoNotOptimize(image.getData()[SIDE]);
    }
}

/// Nothing but libtiff's scanlines, into rows that are as fresh as those of a new image.
void tiffReadReference(benchmark::State& state) {
    const std::string& name = pictureFile();
    for (auto _ : state) {
        TIFF* tiff = TIFFOpen(name.c_str(), "r");
        std::uint32_t width = 0, height = 0;
        TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
        TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
        const std::unique_ptr<unsigned char[]> pixels(new unsigned char[std::size_t(width) * height]);
        for (std::uint32_t row = 0; row < height; ++row)
            TIFFReadScanline(tiff, pixels.get() + std::size_t(row) * width, row, 0);
        TIFFClose(tiff);
        benchmark::DoNotOptimize(pixels[SIDE]);
    }
}

constexpr int TILE = 256;

/// A picture of 16 bits in tiles, gone at the end of the program.
class TiledFile {
public:
    TiledFile() : name(path("-tiles.tif")) {
        TIFF* tiff = TIFFOpen(name.c_str(), "w");
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 16);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, SIDE);
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, SIDE);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, TILE);
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, TILE);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        std::vector<std::uint16_t> tile(TILE * TILE);
        for (int top = 0; top < SIDE; top += TILE)
            for (int left = 0; left < SIDE; left += TILE) {
                for (std::size_t k = 0; k < tile.size(); ++k)
                    tile[k] = std::uint16_t((k * 2654435761u + std::size_t(top + left)) >> 20);
                TIFFWriteTile(tiff, tile.data(), std::uint32_t(left), std::uint32_t(top), 0, 0);
            }
        TIFFClose(tiff);
    }
    ~TiledFile() { std::filesystem::remove(name); }
    const std::string name;
};

const std::string& tiledFile() {
    static const TiledFile file;
    return file.name;
}

void tiffTiles(benchmark::State& state) {
    const std::string& name = tiledFile();
    for (auto _ : state) {
        Image image;
        ImageReader().read(image, name);
        benchmark::DoNotOptimize(image.getData()[SIDE]);
    }
}

/// Nothing but libtiff's tiles, and the copies of their rows to where they belong.
void tiffTilesReference(benchmark::State& state) {
    const std::string& name = tiledFile();
    for (auto _ : state) {
        TIFF* tiff = TIFFOpen(name.c_str(), "r");
        const std::unique_ptr<std::uint16_t[]> pixels(new std::uint16_t[std::size_t(SIDE) * SIDE]);
        std::vector<std::uint16_t> tile(TILE * TILE);
        for (int top = 0; top < SIDE; top += TILE)
            for (int left = 0; left < SIDE; left += TILE) {
                TIFFReadTile(tiff, tile.data(), std::uint32_t(left), std::uint32_t(top), 0, 0);
                for (int i = 0; i < TILE; ++i)
                    std::memcpy(pixels.get() + std::size_t(top + i) * SIDE + left, tile.data() + i * TILE, 2 * TILE);
            }
        TIFFClose(tiff);
        benchmark::DoNotOptimize(pixels[SIDE]);
    }
}

/// A view of 1600 by 1000 pixels of the tiled picture, from a section that has read none of it yet.
constexpr PixelWindow view{700, 900, 1600, 1000};

void tiffPart(benchmark::State& state) {
    const std::string& name = tiledFile();
    const LevelStore none("");
    for (auto _ : state) {
        TiledSection section(name, 0, 0, none);
        Image image;
        section.read(image, 0, view);
        benchmark::DoNotOptimize(image.getData()[SIDE]);
    }
}

/// Nothing but libtiff's tiles that the view touches, and the copies of what it shows of their rows.
void tiffPartReference(benchmark::State& state) {
    const std::string& name = tiledFile();
    const int right = view.x + view.width, bottom = view.y + view.height;
    for (auto _ : state) {
        TIFF* tiff = TIFFOpen(name.c_str(), "r");
        std::vector<std::uint16_t> pixels(std::size_t(view.width) * std::size_t(view.height)), tile(TILE * TILE);
        for (int top = view.y / TILE * TILE; top < bottom; top += TILE)
            for (int left = view.x / TILE * TILE; left < right; left += TILE) {
                TIFFReadTile(tiff, tile.data(), std::uint32_t(left), std::uint32_t(top), 0, 0);
                const int from = std::max(left, view.x), to = std::min(left + TILE, right);
                for (int row = std::max(top, view.y); row < std::min(top + TILE, bottom); ++row)
                    std::memcpy(
                        &pixels[std::size_t(row - view.y) * std::size_t(view.width) + std::size_t(from - view.x)],
                        &tile[std::size_t((row - top) * TILE + from - left)], 2 * std::size_t(to - from));
            }
        TIFFClose(tiff);
        benchmark::DoNotOptimize(pixels[SIDE]);
    }
}

void tiffWrite(benchmark::State& state) {
    const Image& image = picture();
    const std::string name = path("-write.tif");
    for (auto _ : state)
        ImageWriter().write(image, name, true);
    std::filesystem::remove(name);
}

/// libtiff's scanlines and, as the other, the wish that the file be on the disk.
void tiffWriteReference(benchmark::State& state) {
    const Image& image = picture();
    const std::string name = path("-reference.tif");
    for (auto _ : state) {
        TIFF* tiff = TIFFOpen(name.c_str(), "w");
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, SIDE);
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, SIDE);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        for (int row = 0; row < SIDE; ++row)
            TIFFWriteScanline(tiff, const_cast<unsigned char*>(image.getPixels()[row]), std::uint32_t(row), 0);
        TIFFFlush(tiff);
        ::fsync(TIFFFileno(tiff));
        TIFFClose(tiff);
    }
    std::filesystem::remove(name);
}

} // namespace

BENCHMARK(tiffRead)->Name("tiff_read/vorlen")->Unit(benchmark::kMillisecond);
BENCHMARK(tiffReadReference)->Name("tiff_read/reference")->Unit(benchmark::kMillisecond);
BENCHMARK(tiffTiles)->Name("tiff_tiles/vorlen")->Unit(benchmark::kMillisecond);
BENCHMARK(tiffTilesReference)->Name("tiff_tiles/reference")->Unit(benchmark::kMillisecond);
BENCHMARK(tiffPart)->Name("tiff_part/vorlen")->Unit(benchmark::kMillisecond);
BENCHMARK(tiffPartReference)->Name("tiff_part/reference")->Unit(benchmark::kMillisecond);
BENCHMARK(tiffWrite)->Name("tiff_write/vorlen")->Unit(benchmark::kMillisecond);
BENCHMARK(tiffWriteReference)->Name("tiff_write/reference")->Unit(benchmark::kMillisecond);

} // namespace vorlen
