#include "images/sections/levelbuilder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "images/files/imagefile.h"
#include "images/files/tifffile.h"
#include "images/rasters/image.h"
#include "images/sections/imagebands.h"
#include "images/sections/sectionfile.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

const char* const buildPlace = "bool LevelBuilder::build(...)";

/// Rows of a band; reduced they are those of a row of tiles.
constexpr int bandHeight = 2 * LevelBuilder::tileSide;

/// Columns of a part of a band where the file has tiles: a multiple of all usual widths of tiles.
constexpr int partWidth = 4096;

int half(int length) {
    return length / 2 + length % 2;
}

/// Value of a pixel's sample, by the type of the image.
template <class Value>
void halveRows(const Image& image, Image& result, int numSamples) {
    const int width = image.getWidth(), height = image.getHeight();
    for (int i = 0; i < result.getHeight(); ++i) {
        const auto* const above = reinterpret_cast<const Value*>(image.getPixels()[2 * i]);
        const auto* const below = reinterpret_cast<const Value*>(image.getPixels()[std::min(2 * i + 1, height - 1)]);
        auto* to = reinterpret_cast<Value*>(result.getPixels()[i]);
        for (int j = 0; j < result.getWidth(); ++j) {
            const int left = 2 * j * numSamples, right = std::min(2 * j + 1, width - 1) * numSamples;
            for (int k = 0; k < numSamples; ++k) {
                const Value values[] = {above[left + k], above[right + k], below[left + k], below[right + k]};
                if constexpr (std::is_floating_point_v<Value>) {
                    double sum = 0;
                    int number = 0;
                    for (const Value value : values)
                        if (!std::isnan(value)) {
                            sum += double(value);
                            ++number;
                        }
                    *to++ = number > 0 ? static_cast<Value>(sum / number) : values[0];
                } else {
                    *to++ = static_cast<Value>((unsigned(values[0]) + values[1] + values[2] + values[3] + 2) / 4);
                }
            }
        }
    }
}

/// A TIFF file of tiles that is written tile by tile.
class LevelWriter {
public:
    LevelWriter(const std::string& filename, int width, int height, const ImageHeader& like)
        : __filename(filename), __width(width), __height(height), __pixelLength(std::size_t(like.getDepth()) / 8),
          __tile(__pixelLength * LevelBuilder::tileSide * LevelBuilder::tileSide) {
        const int descriptor = ::open(filename.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (descriptor < 0)
            fail("the file cannot be made");
        __tiff = std::make_unique<TiffFile>(descriptor, filename, true);
        ::close(descriptor);
        if (!__tiff->isOpen())
            fail("the file cannot be made");
        setTags(like);
    }

    /// Column and row are multiples of the side of a tile. What the image has not is filled with zeros.
    void write(const Image& image, int x, int y) {
        constexpr int side = LevelBuilder::tileSide;
        for (int top = 0; top < image.getHeight(); top += side)
            for (int left = 0; left < image.getWidth(); left += side) {
                std::fill(__tile.begin(), __tile.end(), static_cast<unsigned char>(0));
                const int width = std::min(side, image.getWidth() - left);
                for (int i = 0; i < std::min(side, image.getHeight() - top); ++i)
                    std::memcpy(&__tile[std::size_t(i) * side * __pixelLength],
                                image.getPixels()[top + i] + std::size_t(left) * __pixelLength,
                                std::size_t(width) * __pixelLength);
                TIFF* const tiff = __tiff->get();
                const std::uint32_t index =
                    TIFFComputeTile(tiff, std::uint32_t(x + left), std::uint32_t(y + top), 0, 0);
                if (TIFFWriteEncodedTile(tiff, index, __tile.data(), static_cast<tmsize_t>(__tile.size())) < 0)
                    fail("the disk may be full" + __tiff->reason());
            }
    }

    void finish() {
        if (TIFFWriteDirectory(__tiff->get()) != 1)
            fail("the disk may be full" + __tiff->reason());
        __tiff->close();
    }

    int getWidth() const { return __width; }
    int getHeight() const { return __height; }

private:
    void setTags(const ImageHeader& like) {
        TIFF* const tiff = __tiff->get();
        const bool colours = !like.isReal() && like.getDepth() >= 24;
        const int samples = colours ? like.getDepth() / 8 : 1;
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, __width);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, __height);
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, LevelBuilder::tileSide);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, LevelBuilder::tileSide);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, like.getDepth() / samples);
        TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, like.isReal() ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, colours ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        if (samples == 4) {
            const std::uint16_t kind = EXTRASAMPLE_UNSPECIFIED;
            TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
        }
        // Fast rather than small: one pass over gigabytes, while somebody looks on.
        if (TIFFIsCODECConfigured(COMPRESSION_ZSTD)) {
            TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ZSTD);
            TIFFSetField(tiff, TIFFTAG_ZSTD_LEVEL, 1);
        } else {
            TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
            TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, 1);
        }
        if (!like.isReal())
            TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    }

    [[noreturn]] void fail(const std::string& reason) const {
        throw FileWriteError(buildPlace, "Cannot keep reduced images (" + reason + ")", __filename);
    }

    std::string __filename;
    int __width, __height;
    std::size_t __pixelLength;
    std::vector<unsigned char> __tile;
    std::unique_ptr<TiffFile> __tiff;
};

} // namespace

Image LevelBuilder::halved(const Image& image) {
    Image result = plainImage(half(image.getWidth()), half(image.getHeight()), image.getHeader());
    if (image.isReal())
        halveRows<float>(image, result, 1);
    else if (image.getDepth() == 16)
        halveRows<std::uint16_t>(image, result, 1);
    else
        halveRows<unsigned char>(image, result, image.bytesPerPixel());
    return result;
}

/// One building: its folder, which goes unless all has come to an end, and how far it has come.
class LevelBuilder::Run {
public:
    Run(const LevelBuilder& builder, std::stop_token stop_, const std::function<void(double)>& progress)
        : stop(std::move(stop_)), __builder(builder), __progress(progress),
          __identity(LevelStore::identityOf(builder.__filename, builder.__page, builder.__channel)),
          __folder(builder.__store.beginLevels()) {}

    ~Run() {
        if (!__folder.empty())
            LevelStore::dropLevels(__folder);
    }

    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    std::string nextFile() { return __folder + "/" + std::to_string(__numLevels++) + ".tif"; }
    std::string lastFile() const { return __folder + "/" + std::to_string(__numLevels - 1) + ".tif"; }

    /// After pixels of the source of a level have been worked off.
    void advance(std::int64_t pixels) {
        __done += double(pixels);
        if (__progress)
            __progress(std::min(__done / __total, 1.0));
    }

    void expect(double pixels) { __total = std::max(pixels, 1.0); }

    void requireRoom(const std::string& file) {
        std::error_code error;
        const std::uintmax_t length = std::filesystem::file_size(file, error);
        __bytes += error ? 0 : std::uint64_t(length);
        if (__bytes > __builder.__store.getLimit())
            throw FileWriteError(buildPlace,
                                 "The reduced images of this picture take more than the " +
                                     std::to_string(__builder.__store.getLimit() >> 20) + " MiB that are allowed",
                                 __builder.__filename);
    }

    void keep() {
        __builder.__store.endLevels(__folder, __identity);
        __folder.clear();
    }

    bool halve(SectionFile& source, int level);
    bool copy(ImageFile& file);

    const std::stop_token stop;

private:
    const LevelBuilder& __builder;
    const std::function<void(double)>& __progress;
    std::string __identity; // as the picture was at the start
    std::string __folder;
    int __numLevels = 0;
    double __done = 0, __total = 1;
    std::uint64_t __bytes = 0;
};

/// Writes the next level, of half the size of one of the source.
bool LevelBuilder::Run::halve(SectionFile& source, int level) {
    const PictureLevel size = source.getLevels()[std::size_t(level)];
    const std::string name = nextFile();
    LevelWriter writer(name, half(size.width), half(size.height), source.getHeader());
    // Strips are read in their whole width, as far as memory allows.
    const std::int64_t pixelLength = std::max(source.getHeader().getDepth() / 8, 1);
    const bool strips =
        size.blockWidth >= size.width && size.width * pixelLength * bandHeight < (std::int64_t(256) << 20);
    const int step = strips ? half(size.width) * 2 : partWidth;
    for (int y = 0; y < size.height; y += bandHeight)
        for (int x = 0; x < size.width; x += step) {
            const PixelWindow part{x, y, std::min(step, size.width - x), std::min(bandHeight, size.height - y)};
            Image image;
            if (!source.read(image, level, part, stop))
                return false;
            writer.write(halved(image), x / 2, y / 2);
            advance(std::int64_t(part.width) * part.height);
        }
    writer.finish();
    requireRoom(name);
    return true;
}

/// Writes the whole picture as the first level.
bool LevelBuilder::Run::copy(ImageFile& file) {
    const SectionFile description(__builder.__filename, __builder.__page, __builder.__channel);
    const ImageHeader& header = description.getHeader();
    const std::string name = nextFile();
    LevelWriter writer(name, header.getWidth(), header.getHeight(), header);
    BandSink sink(file, __builder.__page, __builder.__channel, tileSide);
    sink.onBand = [this, &writer](const Image& image, int top) {
        writer.write(image, 0, top);
        advance(std::int64_t(image.getWidth()) * image.getHeight());
        return !stop.stop_requested();
    };
    file.requireWhole(__builder.__page);
    file.read(__builder.__page, sink);
    if (stop.stop_requested())
        return false;
    writer.finish();
    requireRoom(name);
    return true;
}

LevelBuilder::LevelBuilder(const std::string& filename, int page, int channel, int level, const LevelStore& store)
    : __filename(filename), __page(page), __channel(channel), __level(level), __store(store) {
}

bool LevelBuilder::build(const std::stop_token& stop, const std::function<void(double)>& progress) {
    Run run(*this, stop, progress);
    auto source = std::make_unique<SectionFile>(__filename, __page, __channel);
    int level = __level;
    if (source->getLevels().empty()) {
        const std::unique_ptr<ImageFile> file = ImageFile::open(__filename);
        const ImageHeader& header = source->getHeader();
        run.expect(double(header.getWidth()) * header.getHeight() * (2 + 1.0 / 3));
        if (!run.copy(*file))
            return false;
        source = std::make_unique<SectionFile>(run.lastFile());
        level = 0;
    } else {
        const PictureLevel& size = source->getLevels().at(std::size_t(level));
        run.expect(double(size.width) * size.height * 4 / 3);
    }
    for (;;) {
        const PictureLevel& size = source->getLevels().at(std::size_t(level));
        if (std::max(size.width, size.height) <= smallestSide)
            break;
        if (!run.halve(*source, level))
            return false;
        source = std::make_unique<SectionFile>(run.lastFile());
        level = 0;
    }
    source.reset();
    run.keep();
    return true;
}

} // namespace vorlen
