#include "images/files/imagemosaic.h"

#include "images/files/imagereader.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace vorlen {

namespace {

/// Stops at the greatest int, a size that no image can take.
int sum(const Vector<int>& lengths) {
    long long total = 0;
    for (int i = 0; i < lengths.getSize(); ++i)
        total += lengths[i];
    return static_cast<int>(std::min<long long>(total, std::numeric_limits<int>::max()));
}

/// Where each row or column begins.
std::vector<int> starts(const Vector<int>& lengths) {
    std::vector<int> result;
    int start = 0;
    for (int i = 0; i < lengths.getSize(); start += lengths[i++])
        result.push_back(start);
    return result;
}

} // namespace

ImageMosaic::ImageMosaic(int rows, int cols) {
    constexpr int maxNumPlaces = 1 << 24;
    rows = std::max(rows, 0);
    cols = std::max(cols, 0);
    if (static_cast<long long>(rows) * cols > maxNumPlaces || rows > maxNumPlaces || cols > maxNumPlaces)
        throw SizeError("ImageMosaic::ImageMosaic(int, int)", "Too many tiles in mosaic");
    __rowHeights.setZeros(rows);
    __colWidths.setZeros(cols);
}

void ImageMosaic::clear() {
    __items.clear();
    __rowHeights.setZeros();
    __colWidths.setZeros();
}

bool ImageMosaic::isEmpty() const {
    return __items.empty();
}

int ImageMosaic::getRows() const {
    return __rowHeights.getSize();
}

int ImageMosaic::getCols() const {
    return __colWidths.getSize();
}

int ImageMosaic::getHeight() const {
    return sum(__rowHeights);
}

int ImageMosaic::getWidth() const {
    return sum(__colWidths);
}

int ImageMosaic::getDepth() const {
    return isEmpty() ? 0 : __items.begin()->second.getDepth();
}

ValueType ImageMosaic::getValueType() const {
    return isEmpty() ? ValueType() : __items.begin()->second.getValueType();
}

bool ImageMosaic::isReal() const {
    return !isEmpty() && __items.begin()->second.isReal();
}

const Colormap* ImageMosaic::getColormap() const {
    return isEmpty() ? nullptr : __items.begin()->second.getColormap();
}

Vector<int> ImageMosaic::rowHeights() const {
    return __rowHeights;
}

Vector<int> ImageMosaic::colWidths() const {
    return __colWidths;
}

std::string ImageMosaic::getItemFilename(int row, int col) const {
    const ImageMosaicItem* item = find(row, col);
    return item ? item->getFilename() : std::string();
}

std::string ImageMosaic::getItemPathname(int row, int col) const {
    const ImageMosaicItem* item = find(row, col);
    return item ? item->getPathname() : std::string();
}

std::string ImageMosaic::getImageDirName() const {
    for (const auto& [place, item] : __items)
        if (!item.getFilename().empty())
            return item.getPathname();
    return "";
}

const ImageMosaic::Items& ImageMosaic::getItems() const {
    return __items;
}

void ImageMosaic::setItemFilename(int row, int col, const std::string& filename, const std::string& pathname) {
    const std::string where = "void ImageMosaic::setItemFileName(...)";
    requireFree(row, col, where);
    ImageMosaicItem item;
    try {
        item.setFilename(filename, pathname);
    } catch (Exception& exception) {
        exception.addWhere("void ImageMosaic::setItemFilename(...)");
        throw;
    }
    setItem(row, col, item, where);
}

void ImageMosaic::requireFree(int row, int col, const std::string& where) const {
    if (row < 0 || row >= getRows() || col < 0 || col >= getCols())
        throw RangeError(where, "Mosaic position out of range");
    if (find(row, col) != nullptr)
        throw ValueError(where, "Mosaic position already set");
}

void ImageMosaic::setItem(int row, int col, const ImageMosaicItem& item, const std::string& where) {
    if (!isEmpty()) {
        if (item.getDepth() != getDepth() || item.getValueType() != getValueType())
            throw DepthError(where, "Incompatible image depths");
        const Colormap* colormap = item.getColormap();
        const Colormap* common = getColormap();
        if ((colormap == nullptr) != (common == nullptr) || (colormap && *colormap != *common))
            throw ColormapError(where, "Incompatible colormaps");
    }
    const int height = item.getHeight();
    const int width = item.getWidth();
    if ((__rowHeights[row] != 0 && __rowHeights[row] != height) || (__colWidths[col] != 0 && __colWidths[col] != width))
        throw SizeError(where, "Incompatible image dimensions");
    __items.emplace(std::pair(row, col), item);
    __rowHeights[row] = height;
    __colWidths[col] = width;
}

void ImageMosaic::load(Image& image) const {
    ImageReader reader;
    if (getRows() != 1 || getCols() != 1 || isEmpty())
        return load(image, reader);
    try {
        __items.begin()->second.load(image, reader);
    } catch (Exception& exception) {
        exception.addWhere("void ImageMosaic::load(Image&)");
        throw;
    }
}

void ImageMosaic::load(Image& image, ImageReader& reader) const {
    reader.notifyStarted("");
    Image result;
    if (isReal())
        result.initReal(getWidth(), getHeight());
    else
        result.init(getWidth(), getHeight(), getDepth());
    ImageHeader header = result.getHeader();
    header.setValueType(getValueType());
    result.setHeader(header);
    if (getColormap() != nullptr)
        result.setColormap(*getColormap());
    result.clear();
    const std::vector<int> tops = starts(__rowHeights);
    const std::vector<int> lefts = starts(__colWidths);
    Image tile;
    for (const auto& [place, item] : __items) {
        if (reader.isCanceled())
            break;
        if (item.getFilename().empty())
            continue;
        item.load(tile, reader);
        result.paste(tile, lefts[static_cast<std::size_t>(place.second)], tops[static_cast<std::size_t>(place.first)]);
    }
    image.swap(result);
    if (reader.isCanceled())
        reader.notifyCanceled("");
    else
        reader.notifyFinished("");
}

const ImageMosaicItem* ImageMosaic::find(int row, int col) const {
    const auto found = __items.find({row, col});
    return found == __items.end() ? nullptr : &found->second;
}

} // namespace vorlen
