#include "images/files/tiffimagefile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <list>
#include <mutex>
#include <optional>
#include <set>
#include <utility>

#include <sys/stat.h>

#include "images/files/tifffile.h"
#include "images/files/tiffpicture.h"
#include "images/files/tiffstacklayout.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

// Directories beyond this number are not looked for; each takes 6 bytes of a file at the least.
constexpr std::size_t maxDirectories = 1 << 20;

std::string descriptionOf(TIFF* tiff) {
    char* text = nullptr;
    return TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &text) == 1 && text != nullptr ? text : "";
}

std::uint64_t lengthOf(TIFF* tiff) {
    struct stat status;
    return ::fstat(TIFFFileno(tiff), &status) == 0 ? std::uint64_t(status.st_size) : 0;
}

/// Where the pages of the files that were opened last are, so that a stack of a thousand pages, which opens its file
/// for each of them, does not walk along the chain of directories as often. A file is known by what the system says of
/// it.
class PageLists {
public:
    struct List {
        std::vector<std::uint64_t> directories;
        int numContiguous = 1;
        bool isBroken = false;
    };

    std::optional<List> find(TIFF* tiff) {
        const Key key = keyOf(tiff);
        const std::lock_guard<std::mutex> lock(__mutex);
        for (const auto& [known, list] : __lists)
            if (known == key)
                return list;
        return std::nullopt;
    }

    void keep(TIFF* tiff, const List& list) {
        const Key key = keyOf(tiff);
        const std::lock_guard<std::mutex> lock(__mutex);
        __lists.emplace_front(key, list);
        if (__lists.size() > 8)
            __lists.pop_back();
    }

private:
    using Key = std::array<std::int64_t, 5>;

    static Key keyOf(TIFF* tiff) {
        struct stat status {};
        if (::fstat(TIFFFileno(tiff), &status) != 0)
            return {-1};
        return {std::int64_t(status.st_dev), std::int64_t(status.st_ino), std::int64_t(status.st_size),
                std::int64_t(status.st_mtim.tv_sec), std::int64_t(status.st_mtim.tv_nsec)};
    }

    std::mutex __mutex;
    std::list<std::pair<Key, List>> __lists;
};

PageLists& pageLists() {
    static PageLists lists;
    return lists;
}

/// Where the smaller copies of a page are: its own directories, and else those behind it, up to the next page.
std::vector<std::uint64_t> smallerCopies(const TiffFile& file, std::uint64_t page) {
    constexpr std::size_t most = 32; // each is half as wide as the one before, or less
    std::vector<std::uint64_t> copies;
    TIFF* const tiff = file.get();
    if (!file.isOpen() || TIFFSetSubDirectory(tiff, page) != 1)
        return copies;
    std::uint16_t count = 0;
    std::uint64_t* own = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_SUBIFD, &count, &own) == 1 && own != nullptr)
        copies.assign(own, own + std::min<std::size_t>(count, most));
    while (copies.size() < most && TIFFReadDirectory(tiff) == 1) {
        std::uint32_t subfile = 0;
        TIFFGetField(tiff, TIFFTAG_SUBFILETYPE, &subfile);
        if ((subfile & FILETYPE_REDUCEDIMAGE) == 0)
            break;
        if ((subfile & FILETYPE_MASK) == 0)
            copies.push_back(TIFFCurrentDirOffset(tiff));
    }
    return copies;
}

} // namespace

TiffImageFile::TiffImageFile(const std::string& filename)
    : ImageFile(filename), __tiff(std::make_unique<TiffFile>(filename)) {
    if (!__tiff->isOpen())
        throw FileReadError("void ImageReader::readHeader(ImageHeader&,const string&)",
                            "Cannot read TIFF directory" + __tiff->reason(), filename);
}

TiffImageFile::~TiffImageFile() = default;

int TiffImageFile::getNumPages() {
    findPages();
    return __numContiguous > 1 ? __numContiguous : static_cast<int>(__directories.size());
}

ImagePage TiffImageFile::getPage(int i) {
    select(i);
    return __picture->page;
}

void TiffImageFile::read(int i, SampleSink& sink) {
    select(i);
    if (__numContiguous == 1 || i == 0) {
        __picture->read(sink);
        return;
    }
    const std::uint64_t planeLength =
        TIFFStripSize64(__tiff->get()) == 0 ? 0 : TIFFScanlineSize64(__tiff->get()) * std::uint64_t(__picture->height);
    __picture->readContiguous(TIFFGetStrileOffset(__tiff->get(), 0) + std::uint64_t(i) * planeLength, sink);
}

std::vector<PictureLevel> TiffImageFile::getLevels(int i) {
    findLevels(i);
    std::vector<PictureLevel> levels;
    levels.reserve(__levels.size());
    for (const Level& level : __levels)
        levels.push_back(level.blocks);
    return levels;
}

void TiffImageFile::readPart(int i, int level, const PixelWindow& part, SampleSink& sink) {
    requirePart(getLevels(i), level, part);
    __levels[static_cast<std::size_t>(level)].picture->readPart(part, sink);
}

void TiffImageFile::requireWhole(int i) {
    select(i);
    __picture->requireWhole();
}

void TiffImageFile::findLevels(int i) {
    if (__levelsPage == i)
        return;
    requirePage(i, getNumPages());
    __levels.clear();
    __levelsPage = -1;
    if (__numContiguous == 1) {
        const std::uint64_t own = __directories[static_cast<std::size_t>(i)];
        addLevel(own);
        if (!__levels.empty())
            for (const std::uint64_t smaller : smallerCopies(TiffFile(getFilename()), own))
                addLevel(smaller);
    }
    __levelsPage = i;
}

/// Leaves out what is no smaller copy of the level before, and what can't be read in parts or not at all.
void TiffImageFile::addLevel(std::uint64_t directory) {
    Level level;
    level.tiff = std::make_unique<TiffFile>(getFilename());
    if (!level.tiff->isOpen() || TIFFSetSubDirectory(level.tiff->get(), directory) != 1)
        return;
    try {
        level.picture = std::make_unique<TiffPicture>(level.tiff->get());
    } catch (const FileError&) {
        if (__levels.empty())
            throw;
        return;
    }
    level.blocks = level.picture->blocks();
    if (level.blocks.blockWidth == 0)
        return;
    if (!__levels.empty()) {
        const ImagePage &full = __levels[0].picture->page, &page = level.picture->page;
        const double across = double(full.width) / page.width, down = double(full.height) / page.height;
        // Sizes are rounded to whole pixels, by some programs to whole tiles.
        const double slack = std::max(0.02 * across, across * (1.0 / page.width + 1.0 / page.height) * 2);
        if (page.width >= __levels.back().blocks.width || page.height >= __levels.back().blocks.height ||
            page.storage != full.storage || page.numSamples != full.numSamples || page.colour != full.colour ||
            page.values.bits != full.values.bits || std::abs(across - down) > slack)
            return;
    }
    __levels.push_back(std::move(level));
}

std::string TiffImageFile::getDescription() {
    findPages();
    if (__selected != 0 && __numContiguous == 1)
        select(0);
    return descriptionOf(__tiff->get());
}

/// The first page needs no search for the others, so that the header of a single image costs no more than before.
void TiffImageFile::select(int i) {
    std::uint32_t subfile = 0;
    TIFFGetField(__tiff->get(), TIFFTAG_SUBFILETYPE, &subfile);
    if (i != 0 || !__directories.empty() || (subfile & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) != 0)
        requirePage(i, getNumPages());
    if (__picture != nullptr && (__selected == i || __numContiguous > 1)) {
        __selected = i;
        return;
    }
    __picture.reset();
    TIFF* const tiff = __tiff->get();
    if (!__directories.empty() && TIFFSetSubDirectory(tiff, __directories[static_cast<std::size_t>(i)]) != 1)
        throw FileReadError("void ImageReader::readHeader(ImageHeader&,const string&)",
                            "Cannot read TIFF directory" + __tiff->reason(), getFilename());
    __picture = std::make_unique<TiffPicture>(tiff);
    __selected = i;
}

/// The directories are looked at one after the other, as they are chained; each of those that libtiff cannot read ends
/// the search, since the way to the next is lost with it.
void TiffImageFile::findPages() {
    if (!__directories.empty())
        return;
    __picture.reset();
    __selected = -1;
    TIFF* const tiff = __tiff->get();
    if (const auto known = pageLists().find(tiff)) {
        __directories = known->directories;
        __numContiguous = known->numContiguous;
        __isBroken = known->isBroken;
        if (__numContiguous > 1)
            select(0);
        return;
    }
    const int planes = numContiguousPlanes();
    std::set<std::uint64_t> seen;
    std::vector<std::uint64_t> smaller;
    bool more = TIFFSetDirectory(tiff, 0) == 1;
    while (more && __directories.size() + smaller.size() < maxDirectories) {
        const std::uint64_t place = TIFFCurrentDirOffset(tiff);
        if (!seen.insert(place).second) {
            __isBroken = true;
            break;
        }
        std::uint32_t subfile = 0;
        TIFFGetField(tiff, TIFFTAG_SUBFILETYPE, &subfile);
        (subfile & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK) ? smaller : __directories).push_back(place);
        const bool isLast = planes > 1 || TIFFLastDirectory(tiff) != 0;
        more = !isLast && TIFFReadDirectory(tiff) == 1;
        __isBroken = !isLast && !more; // cut off, or back to where it was before
    }
    if (__directories.empty())
        __directories = smaller;
    if (__directories.empty())
        throw FileReadError("void ImageReader::readHeader(ImageHeader&,const string&)",
                            "Cannot read TIFF directory" + __tiff->reason(), getFilename());
    __numContiguous = planes;
    pageLists().keep(tiff, {__directories, planes, __isBroken});
    if (planes > 1)
        select(0);
}

/// Above 1 for a description of ImageJ that promises more planes than there are directories, in a file long enough.
int TiffImageFile::numContiguousPlanes() {
    TIFF* const tiff = __tiff->get();
    const int promised = imagejNumImages(descriptionOf(tiff));
    if (promised < 2)
        return 1;
    std::uint16_t compression = COMPRESSION_NONE, samples = 1, planar = PLANARCONFIG_CONTIG;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planar);
    std::uint32_t height = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    if (compression != COMPRESSION_NONE || TIFFIsTiled(tiff) || height == 0 || !TIFFLastDirectory(tiff) ||
        (samples > 1 && planar != PLANARCONFIG_CONTIG))
        return 1;
    const std::uint64_t plane = TIFFScanlineSize64(tiff) * std::uint64_t(height);
    const std::uint64_t start = TIFFGetStrileOffset(tiff, 0), length = lengthOf(tiff);
    if (plane == 0 || start >= length)
        return 1;
    return static_cast<int>(std::clamp<std::uint64_t>((length - start) / plane, 1, std::uint64_t(promised)));
}

StackLayout TiffImageFile::getLayout() {
    const std::string description = getDescription();
    StackLayout layout = ImageFile::getLayout();
    if (__isBroken)
        layout.warnings.push_back("behind page " + std::to_string(getNumPages()) +
                                  " the chain of its pages is damaged: what may follow is left out");
    const ImagePage first = getPage(0);
    if (isOmeDescription(description))
        return omeLayout(description, getFilename(), first, getNumPages(), layout);
    if (!isImagejDescription(description))
        return layout;
    float xResolution = 0, yResolution = 0;
    TIFFGetField(__tiff->get(), TIFFTAG_XRESOLUTION, &xResolution);
    TIFFGetField(__tiff->get(), TIFFTAG_YRESOLUTION, &yResolution);
    return imagejLayout(description, xResolution, yResolution, getNumPages(), layout);
}

} // namespace vorlen
