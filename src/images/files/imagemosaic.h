#pragma once

#include "images/files/imagemosaicitem.h"
#include "numerics/vector.h"

#include <map>
#include <string>
#include <utility>

namespace vorlen {

template <class T>
class BoundingBox;

/// Rectangular mosaic of image files, rows and columns numbered from 0, places possibly empty. All tiles have the same
/// depth, type of values and colormap, those of a row the same height and those of a column the same width; height and
/// width of the whole are the sums, and 0 for rows and columns without a tile.
///
/// Filled by setItemFilename() it has a folder for each tile, as used when a volume is saved as a stack.
class ImageMosaic {
public:
    /// The tiles that are set, row by row, each under its row and column.
    using Items = std::map<std::pair<int, int>, ImageMosaicItem>;

    /// An empty table; negative numbers count as 0. Throws SizeError above 2^24 places.
    ImageMosaic(int rows, int cols);

    /// Deletes all items; the table keeps its shape.
    void clear();
    /// True when no item is set.
    bool isEmpty() const;

    int getRows() const;
    int getCols() const;
    int getHeight() const;
    int getWidth() const;
    /// Box from (0, 0) to (width-1, height-1).
    BoundingBox<int> boundingBox() const;
    /// Depth, values and colormap of the first item, row by row; 0, bytes and null without items.
    int getDepth() const;
    ValueType getValueType() const;
    bool isReal() const;
    const Colormap* getColormap() const;
    Vector<int> rowHeights() const;
    Vector<int> colWidths() const;

    /// Empty outside the table and at empty places.
    std::string getItemFilename(int row, int col) const;
    std::string getItemPathname(int row, int col) const;
    /// Path name of the first item that has a file name, else empty.
    std::string getImageDirName() const;
    const Items& getItems() const;

    /// Throws as ImageSourceFileMosaic::setFilename; the mosaic then stays as it was.
    void setItemFilename(int row, int col, const std::string& filename, const std::string& pathname);

    /// Throws RangeError outside the table and ValueError where there is an item already, with this place.
    void requireFree(int row, int col, const std::string& where) const;
    /// Puts an item on a free place. Throws DepthError, ColormapError or SizeError, with this place, if it does not go
    /// with the others; the mosaic then stays as it was.
    void setItem(int row, int col, const ImageMosaicItem& item, const std::string& where);

    /// The whole image; empty places, and items without a file name, are zero. Throws what ImageReader throws.
    void load(Image& image) const;
    /// The same by this reader, which hears of the whole and of each tile. When it is cancelled the image keeps the
    /// tiles read so far.
    void load(Image& image, ImageReader& reader) const;

private:
    const ImageMosaicItem* find(int row, int col) const;

    Items __items;
    Vector<int> __rowHeights;
    Vector<int> __colWidths;
};

} // namespace vorlen
