#include "images/sections/tiledsection.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "images/rasters/image.h"
#include "images/sections/levelbuilder.h"
#include "images/sections/sectionfile.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

Image imageLike(int width, int height, const ImageHeader& like) {
    Image image;
    if (like.isReal())
        image.initReal(width, height);
    else
        image.init(width, height, like.getDepth());
    return image;
}

/// Copies what two rectangles of the same level have in common.
void copyCommon(const Image& from, int fromX, int fromY, Image& to, int toX, int toY) {
    const int left = std::max(fromX, toX), top = std::max(fromY, toY);
    const int right = std::min(fromX + from.getWidth(), toX + to.getWidth());
    const int bottom = std::min(fromY + from.getHeight(), toY + to.getHeight());
    if (right <= left)
        return;
    const auto pixelLength = static_cast<std::size_t>(from.bytesPerPixel());
    for (int y = top; y < bottom; ++y)
        std::memcpy(to.getPixels()[y - toY] + std::size_t(left - toX) * pixelLength,
                    from.getPixels()[y - fromY] + std::size_t(left - fromX) * pixelLength,
                    std::size_t(right - left) * pixelLength);
}

} // namespace

bool TiledSection::isLarge(int width, int height, int depth) {
    const std::int64_t pixels = std::int64_t(width) * height;
    return pixels > (std::int64_t(64) << 20) || pixels * std::max(depth / 8, 1) > (std::int64_t(384) << 20);
}

TiledSection::TiledSection(const std::string& filename, int page, int channel, const LevelStore& store,
                           std::size_t memory)
    : __filename(filename), __page(page), __channel(channel), __store(store), __memory(memory) {
    const auto file = std::make_shared<SectionFile>(filename, page, channel);
    __header = file->getHeader();
    const std::vector<PictureLevel>& own = file->getLevels();
    for (std::size_t i = 0; i < own.size(); ++i) {
        const double reduction =
            std::sqrt(double(own[0].width) / own[i].width * (double(own[0].height) / own[i].height));
        Source source{file, static_cast<int>(i), {own[i].width, own[i].height, reduction}, own[i]};
        if (i > 0 && reduction > greatestRatio * __levels.back().size.reduction) {
            const PictureLevel& last = own.back();
            __smallest = Source{file, static_cast<int>(own.size()) - 1, {last.width, last.height, 0}, last};
            break;
        }
        __levels.push_back(std::move(source));
    }
    __numOwn = static_cast<int>(__levels.size());
    adoptBuilt();
}

TiledSection::~TiledSection() = default;

std::vector<TiledSection::Level> TiledSection::getLevels() const {
    const std::lock_guard lock(__mutex);
    std::vector<Level> levels;
    levels.reserve(__levels.size());
    for (const Source& source : __levels)
        levels.push_back(source.size);
    return levels;
}

int TiledSection::levelFor(double reduction) const {
    const std::lock_guard lock(__mutex);
    int level = __levels.empty() ? -1 : 0;
    for (std::size_t i = 1; i < __levels.size() && __levels[i].size.reduction <= 1.5 * reduction; ++i)
        level = static_cast<int>(i);
    return level;
}

bool TiledSection::isBuilt() const {
    const std::lock_guard lock(__mutex);
    return isBuiltNow();
}

bool TiledSection::isBuiltNow() const {
    if (__levels.empty())
        return false;
    const Level& last = __levels.back().size;
    return int(__levels.size()) > __numOwn || (!__smallest && std::max(last.width, last.height) <= greatestSmallest);
}

bool TiledSection::build(const std::stop_token& stop, const std::function<void(double)>& progress) {
    if (isBuilt())
        return true;
    LevelBuilder builder(__filename, __page, __channel, std::max(__numOwn - 1, 0), __store);
    if (!builder.build(stop, progress))
        return false;
    adoptBuilt();
    if (!isBuilt())
        throw FileReadError("bool TiledSection::build(...)", "The reduced images of this picture are not kept",
                            __filename);
    return true;
}

/// Takes the levels of the store, where they are all there and readable: others are made again.
void TiledSection::adoptBuilt() {
    if (isBuilt())
        return;
    std::vector<Source> built;
    const bool whole = __numOwn == 0;
    Level before = whole ? Level{__header.getWidth(), __header.getHeight(), 0.5} : __levels.back().size;
    try {
        for (const std::string& name : __store.find(__filename, __page, __channel)) {
            const auto file = std::make_shared<SectionFile>(name);
            if (file->getLevels().empty() || file->getHeader().getDepth() != __header.getDepth() ||
                file->getHeader().isReal() != __header.isReal())
                return;
            const PictureLevel& blocks = file->getLevels()[0];
            const bool isFirst = whole && built.empty();
            const int width = isFirst ? before.width : before.width / 2 + before.width % 2;
            const int height = isFirst ? before.height : before.height / 2 + before.height % 2;
            if (blocks.width != width || blocks.height != height)
                return;
            before = {width, height, 2 * before.reduction};
            built.push_back({file, 0, before, blocks});
        }
    } catch (const FileError&) {
        return;
    }
    if (built.empty() || std::max(before.width, before.height) > LevelBuilder::smallestSide)
        return;
    const std::lock_guard lock(__mutex);
    __levels.insert(__levels.end(), built.begin(), built.end());
}

TiledSection::Level TiledSection::sizeOf(int level) const {
    const std::lock_guard lock(__mutex);
    if (level < 0 || std::size_t(level) >= __levels.size())
        throw RangeError("TiledSection", "There is no level " + std::to_string(level) + " of " + __filename);
    return __levels[std::size_t(level)].size;
}

void TiledSection::requireWindow(int level, const PixelWindow& window) const {
    const Level size = sizeOf(level);
    if (window.x < 0 || window.y < 0 || window.width < 1 || window.height < 1 || window.x >= size.width ||
        window.y >= size.height || window.width > size.width - window.x || window.height > size.height - window.y)
        throw RangeError("TiledSection", "The rectangle does not lie within the level of " + __filename);
}

TiledSection::Tile TiledSection::findTile(int level, int column, int row) const {
    return find({level, row, column});
}

TiledSection::Tile TiledSection::find(const Index& index) const {
    const std::lock_guard lock(__mutex);
    const auto found = __tiles.find(index);
    if (found == __tiles.end())
        return nullptr;
    __uses.splice(__uses.begin(), __uses, found->second.use);
    return found->second.tile;
}

void TiledSection::keep(const Index& index, Tile tile) {
    const std::lock_guard lock(__mutex);
    if (__tiles.contains(index))
        return;
    __bytes += tile->dataLength();
    __uses.push_front(index);
    __tiles[index] = {std::move(tile), __uses.begin()};
    while (__bytes > __memory && __uses.size() > 1) {
        const auto oldest = __tiles.find(__uses.back());
        __bytes -= oldest->second.tile->dataLength();
        __tiles.erase(oldest);
        __uses.pop_back();
    }
}

/// The tiles from the first column to the last one; fewer when a stop was asked for. What is missing between two that
/// are there is read at once.
std::vector<TiledSection::Tile> TiledSection::loadRow(int level, int row, int first, int last,
                                                      const std::stop_token& stop) {
    std::vector<Tile> tiles;
    for (int column = first; column <= last; ++column)
        tiles.push_back(find({level, row, column}));
    if (std::find(tiles.begin(), tiles.end(), nullptr) == tiles.end())
        return tiles;
    const std::lock_guard reading(__reading);
    Source source;
    {
        const std::lock_guard lock(__mutex);
        source = __levels[std::size_t(level)];
    }
    // Not too many at once, so that a wish to stop is heard.
    constexpr int together = 8;
    for (int column = first; column <= last;) {
        Tile& tile = tiles[std::size_t(column - first)];
        if (tile == nullptr)
            tile = find({level, row, column}); // by who was here before
        if (tile != nullptr) {
            ++column;
            continue;
        }
        int end = column + 1;
        const bool strips = source.blocks.blockWidth >= source.size.width;
        while (end <= last && (strips || end - column < together) && tiles[std::size_t(end - first)] == nullptr)
            ++end;
        const int x = column * tileSide, y = row * tileSide;
        Image run;
        const PixelWindow part{x, y, std::min((end - column) * tileSide, source.size.width - x),
                               std::min(tileSide, source.size.height - y)};
        if (stop.stop_requested() || !source.file->read(run, source.level, part, stop)) {
            tiles.resize(std::size_t(column - first));
            return tiles;
        }
        for (; column < end; ++column) {
            const int left = column * tileSide;
            Image image = imageLike(std::min(tileSide, source.size.width - left), run.getHeight(), run.getHeader());
            copyCommon(run, x, y, image, left, y);
            auto made = std::make_shared<Image>();
            made->swap(image);
            tiles[std::size_t(column - first)] = made;
            keep({level, row, column}, made);
        }
    }
    return tiles;
}

bool TiledSection::load(int level, const PixelWindow& window, const std::stop_token& stop,
                        const std::function<void()>& told) {
    requireWindow(level, window);
    const int first = window.x / tileSide, last = (window.x + window.width - 1) / tileSide;
    for (int row = window.y / tileSide; row <= (window.y + window.height - 1) / tileSide; ++row) {
        if (int(loadRow(level, row, first, last, stop).size()) <= last - first)
            return false;
        if (told)
            told();
    }
    return true;
}

bool TiledSection::read(Image& image, int level, const PixelWindow& window, const std::stop_token& stop) {
    requireWindow(level, window);
    Image result = imageLike(window.width, window.height, __header);
    const int first = window.x / tileSide, last = (window.x + window.width - 1) / tileSide;
    for (int row = window.y / tileSide; row <= (window.y + window.height - 1) / tileSide; ++row) {
        const std::vector<Tile> tiles = loadRow(level, row, first, last, stop);
        if (int(tiles.size()) <= last - first)
            return false;
        for (std::size_t i = 0; i < tiles.size(); ++i)
            copyCommon(*tiles[i], (first + int(i)) * tileSide, row * tileSide, result, window.x, window.y);
    }
    image.swap(result);
    return true;
}

bool TiledSection::readOverview(Image& image, int side, std::chrono::milliseconds time, const std::stop_token& stop) {
    const std::vector<Level> levels = getLevels();
    if (levels.empty() || side < 1)
        return false;
    const auto largerSide = [](const Level& level) { return std::max(level.width, level.height); };
    Image result;
    if (largerSide(levels.back()) <= greatestSmallest) {
        std::size_t level = levels.size() - 1;
        while (level > 0 && largerSide(levels[level]) < side && largerSide(levels[level - 1]) <= greatestSmallest)
            --level;
        if (!read(result, int(level), {0, 0, levels[level].width, levels[level].height}, stop))
            return false;
    } else if (__smallest && largerSide(__smallest->size) <= greatestSmallest) {
        const std::lock_guard reading(__reading);
        const PixelWindow all{0, 0, __smallest->size.width, __smallest->size.height};
        if (!__smallest->file->read(result, __smallest->level, all, stop))
            return false;
    } else {
        return readSamples(image, side, time, stop);
    }
    while (std::max(result.getWidth(), result.getHeight()) > side) {
        Image half = LevelBuilder::halved(result);
        result.swap(half);
    }
    image.swap(result);
    return true;
}

namespace {

/// Which pixels of a picture stand for those of a much smaller image, along one axis, and in which of its cells, whole
/// blocks, they lie.
struct SampledAxis {
    SampledAxis(int length_, int step_, int block)
        : length(length_), step(step_), numSamples((length - 1) / step + 1),
          cell(std::max(1, (step + block - 1) / block) * std::int64_t(block)),
          numCells(static_cast<int>((length - 1) / cell) + 1) {}

    int place(int sample) const {
        return static_cast<int>(std::min(std::int64_t(sample) * step + step / 2, std::int64_t(length) - 1));
    }
    /// The samples from the first on, to before the end, in cells from the first on, to before the end.
    int firstIn(int firstCell) const {
        const std::int64_t start = cell * firstCell;
        std::int64_t sample = std::max<std::int64_t>(start - step, 0) / step;
        while (sample < numSamples && place(int(sample)) < start)
            ++sample;
        return static_cast<int>(std::min<std::int64_t>(sample, numSamples));
    }

    int length, step, numSamples;
    std::int64_t cell;
    int numCells;
};

} // namespace

/// First the middles of large squares of blocks, which stand for all of the square, then those of ever smaller ones.
bool TiledSection::readSamples(Image& image, int side, std::chrono::milliseconds time, const std::stop_token& stop) {
    const auto end = std::chrono::steady_clock::now() + time;
    Source source;
    {
        const std::lock_guard lock(__mutex);
        source = __levels.back();
    }
    const int step = (std::max(source.size.width, source.size.height) - 1) / side + 1;
    const SampledAxis across(source.size.width, step, source.blocks.blockWidth);
    const SampledAxis down(source.size.height, step, source.blocks.blockHeight);
    Image result = imageLike(across.numSamples, down.numSamples, __header);
    result.clear();
    const auto pixelLength = static_cast<std::size_t>(result.bytesPerPixel());
    std::vector<bool> done(std::size_t(across.numCells) * std::size_t(down.numCells), false);
    const auto isDone = [&](int row, int column) {
        return done[std::size_t(row) * std::size_t(across.numCells) + std::size_t(column)];
    };
    const auto readCell = [&](int row, int column) {
        const int left = across.firstIn(column), right = across.firstIn(column + 1);
        const int top = down.firstIn(row), bottom = down.firstIn(row + 1);
        done[std::size_t(row) * std::size_t(across.numCells) + std::size_t(column)] = true;
        if (left >= right || top >= bottom)
            return;
        const int x = across.place(left), y = down.place(top);
        Image part;
        const std::lock_guard reading(__reading);
        if (!source.file->read(part, source.level,
                               {x, y, across.place(right - 1) - x + 1, down.place(bottom - 1) - y + 1}, stop))
            return;
        for (int i = top; i < bottom; ++i)
            for (int j = left; j < right; ++j)
                std::memcpy(result.getPixels()[i] + std::size_t(j) * pixelLength,
                            part.getPixels()[down.place(i) - y] + std::size_t(across.place(j) - x) * pixelLength,
                            pixelLength);
    };
    // What is not read yet in the square around a cell gets its middle pixel; above and below it, the pixels of its
    // middle row, as cells are as wide as the picture where this is kept in rows.
    const auto spread = [&](int row, int column, int firstRow, int firstColumn, int square) {
        const int i = std::min((down.firstIn(row) + down.firstIn(row + 1)) / 2, down.numSamples - 1);
        const int j = std::min((across.firstIn(column) + across.firstIn(column + 1)) / 2, across.numSamples - 1);
        const unsigned char* const middle = result.getPixels()[i];
        for (int r = firstRow; r < std::min(firstRow + square, down.numCells); ++r)
            for (int c = firstColumn; c < std::min(firstColumn + square, across.numCells); ++c)
                if (!isDone(r, c))
                    for (int y = down.firstIn(r); y < down.firstIn(r + 1); ++y)
                        for (int x = across.firstIn(c); x < across.firstIn(c + 1); ++x)
                            std::memcpy(result.getPixels()[y] + std::size_t(x) * pixelLength,
                                        middle + std::size_t(c == column ? x : j) * pixelLength, pixelLength);
    };
    int square = 1;
    while ((std::max(across.numCells, down.numCells) - 1) / square + 1 > 16)
        square *= 2;
    bool over = false;
    for (; square >= 1 && !over; square /= 2)
        for (int top = 0; top < down.numCells && !over; top += square)
            for (int left = 0; left < across.numCells && !over; left += square) {
                const int row = std::min(top + square / 2, down.numCells - 1);
                const int column = std::min(left + square / 2, across.numCells - 1);
                if (!isDone(row, column)) {
                    readCell(row, column);
                    spread(row, column, top, left, square);
                }
                if (stop.stop_requested())
                    return false;
                over = std::chrono::steady_clock::now() >= end;
            }
    image.swap(result);
    return true;
}

} // namespace vorlen
