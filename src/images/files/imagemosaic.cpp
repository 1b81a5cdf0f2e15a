#include "images/files/imagemosaic.h"

#include "images/rasters/image.h"
#include "numerics/exception.h"

#include <utility>

namespace vorlen {

ImageMosaic::ImageMosaic(int rows, int cols) : __items(rows, cols) {
}

void ImageMosaic::clear() {
    __items.clear();
}

bool ImageMosaic::isEmpty() const {
    return __items.first() == nullptr;
}

int ImageMosaic::getRows() const {
    return __items.getRows();
}

int ImageMosaic::getCols() const {
    return __items.getCols();
}

int ImageMosaic::getHeight() const {
    return __items.height();
}

int ImageMosaic::getWidth() const {
    return __items.width();
}

int ImageMosaic::getDepth() const {
    const ImageMosaicItem* item = __items.first();
    return item ? item->getDepth() : 0;
}

const Colormap* ImageMosaic::getColormap() const {
    const ImageMosaicItem* item = __items.first();
    return item ? item->getColormap() : nullptr;
}

Vector<int> ImageMosaic::rowHeights() const {
    return __items.rowHeights();
}

Vector<int> ImageMosaic::colWidths() const {
    return __items.colWidths();
}

std::string ImageMosaic::getItemFilename(int row, int col) const {
    const ImageMosaicItem* item = __items.at(row, col);
    return item ? item->getFilename() : std::string();
}

std::string ImageMosaic::getItemPathname(int row, int col) const {
    const ImageMosaicItem* item = __items.at(row, col);
    return item ? item->getPathname() : std::string();
}

std::string ImageMosaic::getImageDirName() const {
    const ImageMosaicItem* item = __items.find([](const ImageMosaicItem& each) { return !each.getFilename().empty(); });
    return item ? item->getPathname() : std::string();
}

void ImageMosaic::setItemFilename(int row, int col, const std::string& filename, const std::string& pathname) {
    const std::string where = "void ImageMosaic::setItemFileName(...)";
    __items.requireFree(row, col, where);
    auto item = std::make_unique<ImageMosaicItem>();
    try {
        item->setFilename(filename, pathname);
    } catch (Exception& exception) {
        exception.addWhere("void ImageMosaic::setItemFilename(...)");
        throw;
    }
    const int height = item->getHeight();
    const int width = item->getWidth();
    __items.set(row, col, std::move(item), height, width, where);
}

void ImageMosaic::load(Image& image) const {
    if (getRows() == 1 && getCols() == 1 && !isEmpty()) {
        try {
            __items.at(0, 0)->load(image);
        } catch (Exception& exception) {
            exception.addWhere("void ImageMosaic::load(Image&)");
            throw;
        }
        return;
    }
    Image result(getWidth(), getHeight(), getDepth());
    if (getColormap() != nullptr)
        result.setColormap(*getColormap());
    result.clear();
    Image tile;
    for (int i = 0, y = 0; i < getRows(); y += __items.rowHeights()[i++]) {
        for (int j = 0, x = 0; j < getCols(); x += __items.colWidths()[j++]) {
            if (const ImageMosaicItem* item = __items.at(i, j)) {
                item->load(tile);
                result.paste(tile, x, y);
            }
        }
    }
    image.swap(result);
}

} // namespace vorlen
