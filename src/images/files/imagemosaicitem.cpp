#include "images/files/imagemosaicitem.h"

#include "images/files/imagereader.h"
#include "images/files/imagesourcefile.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"

#include <utility>

namespace vorlen {

ImageMosaicItem::ImageMosaicItem(const ImageSourceFile& file)
    : __filename(file.getFilename()), __header(file.getHeader()) {
}

void ImageMosaicItem::setFilename(const std::string& filename, const std::string& pathname) {
    std::optional<ImageHeader> header;
    if (!pathname.empty()) {
        header.emplace();
        try {
            ImageReader().read(*header, pathname + "/" + filename);
        } catch (Exception& exception) {
            exception.addWhere("void ImageMosaicItem::setFilename(...)");
            throw;
        }
    }
    __filename = filename;
    __pathname = pathname;
    __header = std::move(header);
}

const std::string& ImageMosaicItem::getFilename() const {
    return __filename;
}

const std::string& ImageMosaicItem::getPathname() const {
    return __pathname;
}

std::string ImageMosaicItem::completeFileName() const {
    return __pathname + __filename;
}

int ImageMosaicItem::getWidth() const {
    return __header ? __header->getWidth() : 0;
}

int ImageMosaicItem::getHeight() const {
    return __header ? __header->getHeight() : 0;
}

int ImageMosaicItem::getDepth() const {
    return __header ? __header->getDepth() : 0;
}

ValueType ImageMosaicItem::getValueType() const {
    return __header ? __header->getValueType() : ValueType();
}

bool ImageMosaicItem::isReal() const {
    return __header && __header->isReal();
}

const Colormap* ImageMosaicItem::getColormap() const {
    return __header ? __header->getColormap() : nullptr;
}

void ImageMosaicItem::load(Image& image) const {
    ImageReader reader;
    load(image, reader);
}

void ImageMosaicItem::load(Image& image, ImageReader& reader) const {
    try {
        reader.read(image, completeFileName());
    } catch (Exception& exception) {
        exception.addWhere("void ImageMosaicItem::load(Image&)");
        throw;
    }
}

} // namespace vorlen
