#include "images/files/slideimagefile.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <openslide/openslide.h>

#include "files/fileinfo.h"
#include "images/files/believablesize.h"
#include "images/files/samplesink.h"
#include "images/files/tiffentries.h"
#include "images/files/tifffile.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr const char* slidePlace = "ImageFile::open(const string&)";
constexpr int bandHeight = 256; // of usual tiles

std::string loweredSuffix(const std::string& filename) {
    std::string suffix = FileInfo::suffixName(filename);
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return suffix;
}

bool isVendorSuffix(const std::string& suffix, bool isTiff) {
    static const char* const tiffs[] = {"svs", "ndpi", "scn", "bif"};
    static const char* const others[] = {"mrxs", "vms", "vmu", "svslide"};
    const auto among = [&suffix](const auto& names) {
        return std::find(std::begin(names), std::end(names), suffix) != std::end(names);
    };
    return isTiff ? among(tiffs) : among(others);
}

/// Whether the first picture of a TIFF has tiles, and whether it is one of colours of 8 bits above the limit.
struct TiledTiff {
    explicit TiledTiff(const std::string& filename) {
        const TiffFile file(filename);
        if (!file.isOpen() || TIFFIsTiled(file.get()) == 0)
            return;
        tiled = true;
        std::uint32_t width = 0, height = 0;
        std::uint16_t bits = 1, samples = 1, photometric = 0;
        TIFFGetField(file.get(), TIFFTAG_IMAGEWIDTH, &width);
        TIFFGetField(file.get(), TIFFTAG_IMAGELENGTH, &height);
        TIFFGetFieldDefaulted(file.get(), TIFFTAG_BITSPERSAMPLE, &bits);
        TIFFGetFieldDefaulted(file.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
        TIFFGetField(file.get(), TIFFTAG_PHOTOMETRIC, &photometric);
        large = std::int64_t(width) * std::int64_t(height) > SlideImageFile::pixelLimit && bits == 8 && samples == 3 &&
                (photometric == PHOTOMETRIC_RGB || photometric == PHOTOMETRIC_YCBCR);
    }

    bool tiled = false, large = false;
};

} // namespace

void SlideImageFile::Closer::operator()(openslide_t* slide) const {
    openslide_close(slide);
}

SlideImageFile::SlideImageFile(const std::string& filename)
    : ImageFile(filename), __slide(openslide_open(filename.c_str())) {
    if (__slide == nullptr)
        throw FileFormatError(slidePlace, "This is no whole-slide file", filename);
    if (openslide_get_error(__slide.get()) != nullptr)
        fail("Cannot read the whole-slide file");
}

SlideImageFile::~SlideImageFile() = default;

int SlideImageFile::getNumPages() {
    return std::max(0, int(openslide_get_level_count(__slide.get())));
}

ImagePage SlideImageFile::getPage(int i) {
    requirePage(i, getNumPages());
    std::int64_t width = 0, height = 0;
    openslide_get_level_dimensions(__slide.get(), i, &width, &height);
    constexpr std::int64_t greatest = 1 << 29; // as requireBelievable() has it for four bytes
    if (width < 1 || height < 1 || width > greatest || height > greatest)
        throw FileFormatError(slidePlace, "Invalid image size", getFilename());
    ImagePage page;
    page.width = static_cast<int>(width);
    page.height = static_cast<int>(height);
    page.values = {ValueType::Unsigned, 8};
    page.storage = SampleStorage::U8;
    page.colour = ImagePage::Rgb;
    page.numSamples = 3;
    const double across = pixelSize(true), down = pixelSize(false);
    const double reduction = openslide_get_level_downsample(__slide.get(), i);
    if (across > 0 && down > 0 && reduction > 0) {
        page.hasPixelSize = true;
        page.calibration.setLengthUnit(LengthUnit(-6));
        page.calibration.setPixelWidth(static_cast<float>(across * reduction));
        page.calibration.setPixelHeight(static_cast<float>(down * reduction));
        page.calibration.compute();
    }
    return page;
}

void SlideImageFile::read(int i, SampleSink& sink) {
    const ImagePage page = getPage(i);
    requireWhole(i);
    readRegion(i, {0, 0, page.width, page.height}, sink);
}

std::vector<PictureLevel> SlideImageFile::getLevels(int i) {
    requirePage(i, getNumPages());
    std::vector<PictureLevel> levels;
    for (int level = i; level < getNumPages(); ++level) {
        const ImagePage page = getPage(level);
        if (level == i || (page.width < levels.back().width && page.height < levels.back().height))
            levels.push_back({page.width, page.height, std::min(bandHeight, page.width), bandHeight});
        else
            break;
    }
    return levels;
}

void SlideImageFile::readPart(int i, int level, const PixelWindow& part, SampleSink& sink) {
    requirePart(getLevels(i), level, part);
    readRegion(i + level, part, sink);
}

void SlideImageFile::requireWhole(int i) {
    constexpr std::uint64_t greatestRatio = 4096;
    if (loweredSuffix(getFilename()) != "mrxs" && loweredSuffix(getFilename()) != "vms") // these are in several files
        requireBelievable(getPage(i), getFilename(), greatestRatio);
}

void SlideImageFile::readRegion(int level, const PixelWindow& part, SampleSink& sink) const {
    const char* const given = openslide_get_property_value(__slide.get(), OPENSLIDE_PROPERTY_NAME_BACKGROUND_COLOR);
    const unsigned long background = given != nullptr ? std::strtoul(given, nullptr, 16) : 0xffffffUL;
    const double reduction = openslide_get_level_downsample(__slide.get(), level);
    const auto width = static_cast<std::size_t>(part.width);
    std::vector<std::uint32_t> band(width * std::size_t(std::min(bandHeight, part.height)));
    std::vector<unsigned char> row(3 * width);
    for (int first = 0, numRows = 0; first < part.height; first += numRows) {
        // Bands that end where usual tiles do, so that each is decoded once.
        numRows = std::min(bandHeight - (part.y + first) % bandHeight, part.height - first);
        openslide_read_region(__slide.get(), band.data(), std::int64_t(std::llround(part.x * reduction)),
                              std::int64_t(std::llround((part.y + first) * reduction)), level, part.width, numRows);
        if (openslide_get_error(__slide.get()) != nullptr)
            fail("Cannot read the pixels of the whole-slide file");
        for (int r = 0; r < numRows; ++r) {
            const std::uint32_t* const pixels = &band[std::size_t(r) * width];
            for (std::size_t j = 0; j < width; ++j) {
                const unsigned clear = 255 - (pixels[j] >> 24); // colours are multiplied by their opacity
                for (unsigned k = 0; k < 3; ++k) {
                    const unsigned shift = 16 - 8 * k;
                    const unsigned behind = unsigned(background >> shift & 255) * clear;
                    row[3 * j + k] =
                        static_cast<unsigned char>(std::min(255U, (pixels[j] >> shift & 255) + (behind + 127) / 255));
                }
            }
            if (!sink.takeRow(first + r, row.data()))
                return;
        }
    }
}

StackLayout SlideImageFile::getLayout() {
    int level = 0;
    std::int64_t width = 0, height = 0;
    for (; level < getNumPages(); ++level) {
        openslide_get_level_dimensions(__slide.get(), level, &width, &height);
        if (width > 0 && height > 0 && width <= pixelLimit / height)
            break;
    }
    if (level == getNumPages())
        throw FileFormatError(slidePlace,
                              "The smallest picture of this slide has " + std::to_string(width) + " x " +
                                  std::to_string(height) + " pixels, more than the " +
                                  std::to_string(pixelLimit >> 20) + " Mi that are taken: export a smaller one",
                              getFilename());
    const ImagePage page = getPage(level);
    StackLayout layout;
    layout.numPlanes = 1;
    layout.planes.resize(1);
    layout.planes[0].page = level;
    layout.channelNames.resize(1);
    if (page.hasPixelSize) {
        layout.unit = page.calibration.getLengthUnit();
        layout.pixelWidth = double(page.calibration.getPixelWidth());
        layout.pixelHeight = double(page.calibration.getPixelHeight());
    }
    if (level > 0)
        layout.warnings.push_back("of its " + std::to_string(getNumPages()) + " levels number " +
                                  std::to_string(level + 1) + " is taken, the largest of at most " +
                                  std::to_string(pixelLimit >> 20) + " Mi pixels");
    return layout;
}

bool SlideImageFile::isSlide(const std::string& filename, bool isTiff) {
    if (isVendorSuffix(loweredSuffix(filename), isTiff))
        return (!isTiff || hasBelievableEntries(filename)) && openslide_detect_vendor(filename.c_str()) != nullptr;
    if (!isTiff)
        return false;
    const TiledTiff tiff(filename);
    if (!tiff.tiled || !hasBelievableEntries(filename))
        return false;
    const char* const vendor = openslide_detect_vendor(filename.c_str());
    return vendor != nullptr && (tiff.large || std::strcmp(vendor, "generic-tiff") != 0);
}

/// In micrometers; 0 where the file does not tell. Plain TIFF tells its resolution as it is in its tags.
double SlideImageFile::pixelSize(bool isWidth) const {
    const auto number = [this](const char* name) {
        const char* const text = openslide_get_property_value(__slide.get(), name);
        const double value = text != nullptr ? std::strtod(text, nullptr) : 0;
        return std::isfinite(value) && value > 1e-9 && value < 1e9 ? value : 0;
    };
    if (const double size = number(isWidth ? OPENSLIDE_PROPERTY_NAME_MPP_X : OPENSLIDE_PROPERTY_NAME_MPP_Y); size > 0)
        return size;
    const char* const unit = openslide_get_property_value(__slide.get(), "tiff.ResolutionUnit");
    const double resolution = number(isWidth ? "tiff.XResolution" : "tiff.YResolution");
    if (unit == nullptr || resolution <= 0)
        return 0;
    return std::strcmp(unit, "centimeter") == 0 ? 1e4 / resolution
           : std::strcmp(unit, "inch") == 0     ? 25400 / resolution
                                                : 0;
}

void SlideImageFile::fail(const char* what) const {
    const char* const error = openslide_get_error(__slide.get());
    throw FileReadError(slidePlace, std::string(what) + (error != nullptr ? " (" + std::string(error) + ")" : ""),
                        getFilename());
}

} // namespace vorlen
