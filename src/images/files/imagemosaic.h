#pragma once

#include "images/files/imagemosaicitem.h"
#include "images/files/mosaictable.h"

#include <string>

namespace vorlen {

template <class T>
class BoundingBox;

/// Mosaic of image files with a folder for each tile, as used when a volume is saved as a stack. The rules for the
/// tiles are those of ImageSourceFileMosaic.
class ImageMosaic {
public:
    /// An empty table. Throws SizeError above 2^24 places.
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
    /// Depth and colormap of the first item, row by row; 0 and null without items.
    int getDepth() const;
    const Colormap* getColormap() const;
    Vector<int> rowHeights() const;
    Vector<int> colWidths() const;

    /// Empty outside the table and at empty places.
    std::string getItemFilename(int row, int col) const;
    std::string getItemPathname(int row, int col) const;
    /// Path name of the first item that has a file name, else empty.
    std::string getImageDirName() const;

    /// Throws as ImageSourceFileMosaic::setFilename; the mosaic then stays as it was.
    void setItemFilename(int row, int col, const std::string& filename, const std::string& pathname);

    /// The whole image; empty places are zero. Throws what ImageReader throws.
    void load(Image& image) const;

private:
    MosaicTable<ImageMosaicItem> __items;
};

} // namespace vorlen
