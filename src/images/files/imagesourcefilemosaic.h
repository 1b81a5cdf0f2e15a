#pragma once

#include "images/files/imagemosaic.h"
#include "values/imagesource.h"

#include <memory>
#include <string>

namespace vorlen {

/// Image source of kind 1: a rectangular mosaic of image files. The rules for the tiles are those of ImageMosaic.
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
    std::string getValueType() const override;
    bool isReal() const override;
    /// "mosaic of rows x columns"
    std::string getName() const override;
    /// Assembles the tiles; places without a tile are zero.
    void read(ImageReader& reader, Image& image) const override;
    /// SLICE rows columns
    ImageStatement getStatement() const override;
    static std::unique_ptr<ImageSource> make(const ImageStatement& statement);
    /// IMAGE row column file, for each tile, row by row; rows and columns are counted from 1.
    std::vector<ImageStatement> getFurtherStatements() const override;
    /// Throws as setFilename().
    bool addStatement(const ImageStatement& statement) override;

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
    ImageMosaic __tiles;
};

} // namespace vorlen
