#include "images/files/imagesourcefilemosaic.h"

#include "numerics/exception.h"

#include <utility>

namespace vorlen {

ImageSourceFileMosaic::ImageSourceFileMosaic(int rows, int cols) : __tiles(rows, cols) {
}

ImageSourceFileMosaic* ImageSourceFileMosaic::clone() const {
    return new ImageSourceFileMosaic(*this);
}

int ImageSourceFileMosaic::getType() const {
    return 1;
}

bool ImageSourceFileMosaic::isDefined() const {
    return __tiles.first() != nullptr;
}

int ImageSourceFileMosaic::getSize1() const {
    return __tiles.height();
}

int ImageSourceFileMosaic::getSize2() const {
    return __tiles.width();
}

int ImageSourceFileMosaic::getDepth() const {
    const ImageSourceFile* tile = __tiles.first();
    return tile ? tile->getDepth() : 0;
}

const Colormap* ImageSourceFileMosaic::getColormap() const {
    const ImageSourceFile* tile = __tiles.first();
    return tile ? tile->getColormap() : nullptr;
}

void ImageSourceFileMosaic::clear() {
    __tiles.clear();
}

void ImageSourceFileMosaic::setFilename(int row, int col, const std::string& filename) {
    const std::string where = "void ImageSourceFileMosaic::setFilename(...)";
    __tiles.requireFree(row, col, where);
    auto tile = std::make_unique<ImageSourceFile>();
    try {
        tile->setFilename(filename);
    } catch (Exception& exception) {
        exception.addWhere(where);
        throw;
    }
    const int height = tile->getSize1();
    const int width = tile->getSize2();
    __tiles.set(row, col, std::move(tile), height, width, where);
}

std::string ImageSourceFileMosaic::getFilename(int row, int col) const {
    const ImageSourceFile* tile = __tiles.at(row, col);
    return tile ? tile->getFilename() : std::string();
}

int ImageSourceFileMosaic::getRows() const {
    return __tiles.getRows();
}

int ImageSourceFileMosaic::getCols() const {
    return __tiles.getCols();
}

Vector<int> ImageSourceFileMosaic::rowHeights() const {
    return __tiles.rowHeights();
}

Vector<int> ImageSourceFileMosaic::colWidths() const {
    return __tiles.colWidths();
}

} // namespace vorlen
