#pragma once

#include "images/rasters/colormap.h"
#include "numerics/exception.h"
#include "numerics/vector.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vorlen {

/// Table of the tiles of a mosaic, rows and columns from 0, with the common height of each row and width of each
/// column (0 until a tile of the row or column is set). It holds the rules that both kinds of mosaic share: all tiles
/// have one depth and one colormap, and fit their row and column. Tile needs getDepth() and getColormap().
///
/// Negative numbers of rows or columns count as 0; tables of more than 2^24 places are refused with SizeError.
template <class Tile>
class MosaicTable {
public:
    MosaicTable(int rows, int cols) {
        rows = rows > 0 ? rows : 0;
        cols = cols > 0 ? cols : 0;
        if (static_cast<long long>(rows) * cols > (1 << 24) || rows > (1 << 24) || cols > (1 << 24))
            throw SizeError("MosaicTable<Tile>::MosaicTable(int, int)", "Too many tiles in mosaic");
        __rowHeights.setZeros(rows);
        __colWidths.setZeros(cols);
        __tiles.resize(static_cast<std::size_t>(rows));
        for (auto& row : __tiles)
            row.resize(static_cast<std::size_t>(cols));
    }

    MosaicTable(const MosaicTable& table) : __rowHeights(table.__rowHeights), __colWidths(table.__colWidths) {
        for (const auto& row : table.__tiles) {
            __tiles.emplace_back();
            for (const auto& tile : row)
                __tiles.back().push_back(tile ? std::make_unique<Tile>(*tile) : nullptr);
        }
    }

    MosaicTable& operator=(MosaicTable table) {
        __rowHeights.swap(table.__rowHeights);
        __colWidths.swap(table.__colWidths);
        __tiles.swap(table.__tiles);
        return *this;
    }

    /// Deletes all tiles and zeroes heights and widths; the table keeps its shape.
    void clear() {
        for (auto& row : __tiles)
            for (auto& tile : row)
                tile.reset();
        __rowHeights.setZeros();
        __colWidths.setZeros();
    }

    int getRows() const { return __rowHeights.getSize(); }
    int getCols() const { return __colWidths.getSize(); }
    const Vector<int>& rowHeights() const { return __rowHeights; }
    const Vector<int>& colWidths() const { return __colWidths; }
    int height() const { return total(__rowHeights); }
    int width() const { return total(__colWidths); }

    bool contains(int row, int col) const { return row >= 0 && row < getRows() && col >= 0 && col < getCols(); }

    /// Null outside the table and at empty places.
    const Tile* at(int row, int col) const {
        return contains(row, col) ? __tiles[static_cast<std::size_t>(row)][static_cast<std::size_t>(col)].get()
                                  : nullptr;
    }

    /// First tile, row by row, that fulfils the condition; null if there is none.
    template <class Condition>
    const Tile* find(Condition condition) const {
        for (const auto& row : __tiles)
            for (const auto& tile : row)
                if (tile && condition(*tile))
                    return tile.get();
        return nullptr;
    }

    const Tile* first() const {
        return find([](const Tile&) { return true; });
    }

    /// Throws RangeError outside the table and ValueError where there is a tile already.
    void requireFree(int row, int col, const std::string& where) const {
        if (!contains(row, col))
            throw RangeError(where, "Mosaic position out of range");
        if (at(row, col) != nullptr)
            throw ValueError(where, "Mosaic position already set");
    }

    /// Puts a tile of this height and width on a free place. Throws DepthError, ColormapError or SizeError if it does
    /// not go with the others; the table then stays as it was.
    void set(int row, int col, std::unique_ptr<Tile> tile, int tileHeight, int tileWidth, const std::string& where) {
        if (const Tile* other = first()) {
            if (tile->getDepth() != other->getDepth())
                throw DepthError(where, "Incompatible image depths");
            const Colormap* colormap = tile->getColormap();
            const Colormap* otherColormap = other->getColormap();
            if ((colormap == nullptr) != (otherColormap == nullptr) || (colormap && *colormap != *otherColormap))
                throw ColormapError(where, "Incompatible colormaps");
        }
        if ((__rowHeights[row] != 0 && __rowHeights[row] != tileHeight) ||
            (__colWidths[col] != 0 && __colWidths[col] != tileWidth))
            throw SizeError(where, "Incompatible image dimensions");
        __rowHeights[row] = tileHeight;
        __colWidths[col] = tileWidth;
        __tiles[static_cast<std::size_t>(row)][static_cast<std::size_t>(col)] = std::move(tile);
    }

private:
    /// Stops at the greatest int, a size that no image can take.
    static int total(const Vector<int>& lengths) {
        long long sum = 0;
        for (int i = 0; i < lengths.getSize(); ++i)
            sum += lengths[i];
        return static_cast<int>(std::min<long long>(sum, std::numeric_limits<int>::max()));
    }

    std::vector<std::vector<std::unique_ptr<Tile>>> __tiles;
    Vector<int> __rowHeights;
    Vector<int> __colWidths;
};

} // namespace vorlen
