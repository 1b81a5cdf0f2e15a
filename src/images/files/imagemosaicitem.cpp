#include "images/files/imagemosaicitem.h"

#include "images/files/imagereader.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"

#include <utility>

namespace vorlen {

ImageMosaicItem::ImageMosaicItem(const ImageMosaicItem& item)
    : __filename(item.__filename), __pathname(item.__pathname),
      __header(item.__header ? std::make_unique<ImageHeader>(*item.__header) : nullptr) {
}

void ImageMosaicItem::setFilename(const std::string& filename, const std::string& pathname) {
    std::unique_ptr<ImageHeader> header;
    if (!pathname.empty()) {
        header = std::make_unique<ImageHeader>();
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

const Colormap* ImageMosaicItem::getColormap() const {
    return __header ? static_cast<const ImageHeader&>(*__header).getColormap() : nullptr;
}

void ImageMosaicItem::load(Image& image) const {
    try {
        ImageReader().read(image, completeFileName());
    } catch (Exception& exception) {
        exception.addWhere("void ImageMosaicItem::load(Image&)");
        throw;
    }
}

} // namespace vorlen
