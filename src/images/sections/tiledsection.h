#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <tuple>
#include <vector>

#include "images/files/picturelevel.h"
#include "images/rasters/imageheader.h"
#include "images/sections/levelstore.h"

namespace vorlen {

class Image;
class SectionFile;

/// A section of any size, of which only what is looked at is read: rectangles of it at the full size, or at one of the
/// reduced ones, its levels.
///
/// Levels of the file itself are used as they are (pyramids in TIFF, whole slides). Where these leave out more than
/// greatestRatio to the next, or end above greatestSmallest pixels, the rest is made by build() and kept in a
/// LevelStore. A file that can only be read as a whole (PNG, JPEG, JPEG 2000, ...) has no level before that.
///
/// What was read stays as square tiles, as far as they fit into the memory that is given; the tiles longest unused go.
/// Images are plain: 8 or 16 bits of grey, real, or colours, with the values that ImageReader gives; those of reduced
/// levels are means (or what the maker of the file took).
///
/// All operations may be called from any thread. findTile() waits for nobody who reads a file; reading is done by one
/// thread at a time. Errors are those of ImageFile; an error leaves the section as it was.
class TiledSection {
public:
    using Tile = std::shared_ptr<const Image>;

    /// A level: its size, and how many pixels of the full size a pixel of it is wide and high.
    struct Level {
        int width = 0;
        int height = 0;
        double reduction = 1;
    };

    static constexpr int tileSide = 512;
    static constexpr double greatestRatio = 5;
    static constexpr int greatestSmallest = 4096;
    static constexpr std::size_t defaultMemory = std::size_t(128) << 20;

    /// Whether an image of this size is one to be read by tiles: above 64 Mi pixels, or 384 MiB.
    static bool isLarge(int width, int height, int depth);

    /// Page counted from 0, channel from 1 with 0 for all. Throws as ImageFile::open() and ImageFile::getPage(), and
    /// RangeError for a channel that there is not.
    TiledSection(const std::string& filename, int page, int channel, const LevelStore& store = LevelStore(),
                 std::size_t memory = defaultMemory);
    ~TiledSection();

    /// What images are like, with the size of the whole section.
    const ImageHeader& getHeader() const { return __header; }

    /// From the full size down. build() adds levels, and leaves those that there are.
    std::vector<Level> getLevels() const;

    /// The coarsest level that is good enough where so many pixels of the full size fall on one of the screen: by at
    /// most one and a half too coarse. -1 without a level.
    int levelFor(double reduction) const;

    /// Whether build() has nothing to do.
    bool isBuilt() const;

    /// Makes the levels that are missing and keeps them; other operations go on meanwhile. False when a stop was asked
    /// for. Throws as LevelBuilder::build().
    bool build(const std::stop_token& stop, const std::function<void(double)>& progress = {});

    /// A tile that is in memory, null for none. Counts as a use.
    Tile findTile(int level, int column, int row) const;

    /// Reads the tiles that a rectangle of a level touches, those of a row of tiles at once; told is called after each
    /// row that was read. False when a stop was asked for. Throws RangeError for a rectangle that isn't within the
    /// level.
    bool load(int level, const PixelWindow& window, const std::stop_token& stop = {},
              const std::function<void()>& told = {});

    /// Reads a rectangle of a level as an image of its size. False, with the image as it was, when a stop was asked
    /// for. Throws RangeError for a rectangle that isn't within the level.
    bool read(Image& image, int level, const PixelWindow& window, const std::stop_token& stop = {});

    /// The whole as an image of at most side pixels in width and height: from the levels where they go that far, else
    /// of pixels here and there, ever closer until the time is over. False when a stop was asked for or there is no
    /// level yet.
    bool readOverview(Image& image, int side, std::chrono::milliseconds time, const std::stop_token& stop = {});

private:
    using Index = std::tuple<int, int, int>; // level, row, column

    struct Source {
        std::shared_ptr<SectionFile> file;
        int level;
        Level size;
        PictureLevel blocks;
    };

    struct Kept {
        Tile tile;
        std::list<Index>::iterator use;
    };

    void adoptBuilt();
    bool isBuiltNow() const;
    Level sizeOf(int level) const;
    void requireWindow(int level, const PixelWindow& window) const;
    std::vector<Tile> loadRow(int level, int row, int first, int last, const std::stop_token& stop);
    Tile find(const Index& index) const;
    void keep(const Index& index, Tile tile);
    bool readSamples(Image& image, int side, std::chrono::milliseconds time, const std::stop_token& stop);

    std::string __filename;
    int __page, __channel;
    LevelStore __store;
    std::size_t __memory;
    ImageHeader __header;
    int __numOwn = 0;                 // of the levels, those of the file that are used
    std::optional<Source> __smallest; // the file's own smallest, where it is not used
    mutable std::mutex __mutex;       // guards what follows; held for no longer than a look
    std::vector<Source> __levels;
    mutable std::list<Index> __uses; // the last one first
    mutable std::map<Index, Kept> __tiles;
    std::size_t __bytes = 0; // of all tiles
    std::mutex __reading;    // held by who reads files; taken before the other one
};

} // namespace vorlen
