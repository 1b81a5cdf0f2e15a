#include "images/files/imagesourcefilemosaic.h"

#include "images/files/imagesourcefile.h"
#include "numerics/exception.h"

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
    return !__tiles.isEmpty();
}

int ImageSourceFileMosaic::getSize1() const {
    return __tiles.getHeight();
}

int ImageSourceFileMosaic::getSize2() const {
    return __tiles.getWidth();
}

int ImageSourceFileMosaic::getDepth() const {
    return __tiles.getDepth();
}

const Colormap* ImageSourceFileMosaic::getColormap() const {
    return __tiles.getColormap();
}

std::string ImageSourceFileMosaic::getValueType() const {
    return __tiles.getValueType().name();
}

bool ImageSourceFileMosaic::isReal() const {
    return __tiles.isReal();
}

std::string ImageSourceFileMosaic::getName() const {
    return "mosaic of " + std::to_string(getRows()) + " x " + std::to_string(getCols());
}

void ImageSourceFileMosaic::read(ImageReader& reader, Image& image) const {
    __tiles.load(image, reader);
}

ImageStatement ImageSourceFileMosaic::getStatement() const {
    return {"SLICE", {getRows(), getCols()}};
}

std::unique_ptr<ImageSource> ImageSourceFileMosaic::make(const ImageStatement& statement) {
    return std::make_unique<ImageSourceFileMosaic>(statement.number(0), statement.number(1));
}

std::vector<ImageStatement> ImageSourceFileMosaic::getFurtherStatements() const {
    std::vector<ImageStatement> statements;
    for (const auto& [place, item] : __tiles.getItems())
        statements.push_back({"IMAGE", {place.first + 1, place.second + 1, item.completeFileName()}});
    return statements;
}

bool ImageSourceFileMosaic::addStatement(const ImageStatement& statement) {
    if (statement.keyword != "IMAGE")
        return false;
    const auto place = [&statement](std::size_t i) { return statement.number(i) > 0 ? statement.number(i) - 1 : -1; };
    setFilename(place(0), place(1), statement.file(2));
    return true;
}

void ImageSourceFileMosaic::clear() {
    __tiles.clear();
}

void ImageSourceFileMosaic::setFilename(int row, int col, const std::string& filename) {
    const std::string where = "void ImageSourceFileMosaic::setFilename(...)";
    __tiles.requireFree(row, col, where);
    ImageSourceFile file;
    try {
        file.setFilename(filename);
    } catch (Exception& exception) {
        exception.addWhere(where);
        throw;
    }
    __tiles.setItem(row, col, ImageMosaicItem(file), where);
}

std::string ImageSourceFileMosaic::getFilename(int row, int col) const {
    return __tiles.getItemFilename(row, col);
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
