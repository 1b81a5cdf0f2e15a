#pragma once

#include "images/files/imagesourcefile.h"
#include "images/files/mosaictable.h"
#include "values/imagesource.h"

#include <string>

namespace vorlen {

/// Image source of kind 1: a rectangular mosaic of image files, rows and columns numbered from 0, places possibly
/// empty. All tiles have the same depth and colormap, those of a row the same height and those of a column the same
/// width; height and width of the whole are the sums.
class ImageSourceFileMosaic : public ImageSource {
public:
    /// An empty table. Throws SizeError above 2^24 places.
    ImageSourceFileMosaic(int rows, int cols);

    ImageSourceFileMosaic* clone() const override;
    int getType() const override;
    /// True when at least one tile is set.
    bool isDefined() const override;
    int getSize1() const override;
    int getSize2() const override;
    /// Depth and colormap of the first tile, row by row; 0 and null without tiles.
    int getDepth() const override;
    const Colormap* getColormap() const override;

    /// Deletes all tiles; the table keeps its shape.
    void clear();

    /// Sets a tile, whose header is read at once. Throws RangeError outside the table, ValueError if the place is
    /// taken, DepthError, ColormapError or SizeError if the tile does not go with the others, and what
    /// ImageSourceFile::setFilename throws; the mosaic then stays as it was.
    void setFilename(int row, int col, const std::string& filename);
    /// Empty outside the table and at empty places.
    std::string getFilename(int row, int col) const;

    int getRows() const;
    int getCols() const;
    Vector<int> rowHeights() const;
    Vector<int> colWidths() const;

private:
    MosaicTable<ImageSourceFile> __tiles;
};

} // namespace vorlen
