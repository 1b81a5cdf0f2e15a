#include "images/sections/imageparts.h"

#include <utility>

#include "images/rasters/image.h"
#include "images/sections/tiledsection.h"
#include "numerics/exception.h"

namespace vorlen {

BoundingBox<int> ImageParts::Part::toPart(const BoundingBox<int>& box) const {
    Vector<int> low(2), high(2);
    for (const int axis : {0, 1}) {
        const int offset = axis == 0 ? left : top;
        low[axis] = box.getVertex1()[axis] - offset;
        high[axis] = box.getVertex2()[axis] - offset;
    }
    return {low, high};
}

ImageParts::ImageParts(const Image& image) : __image(&image), __width(image.getWidth()), __height(image.getHeight()) {
}

ImageParts::ImageParts(std::shared_ptr<TiledSection> section, std::int64_t mostPixels)
    : __section(std::move(section)), __mostPixels(mostPixels), __width(__section->getHeader().getWidth()),
      __height(__section->getHeader().getHeight()) {
    if (__section->getLevels().empty())
        throw UsageError("ImageParts::ImageParts(std::shared_ptr<TiledSection>, std::int64_t)",
                         "The section has no level yet");
}

bool ImageParts::canRead(int width, int height) const {
    return isInMemory() || std::int64_t(width) * height <= __mostPixels;
}

ImageParts::Part ImageParts::read(const PixelWindow& window) const {
    const char* const where = "ImageParts::Part ImageParts::read(const PixelWindow&) const";
    if (window.x < 0 || window.y < 0 || window.width < 1 || window.height < 1 || window.width > __width - window.x ||
        window.height > __height - window.y)
        throw RangeError(where, "The rectangle does not lie on the image");
    if (!canRead(window.width, window.height))
        throw SizeError(where, "This part of the section is too large to be read in full size: choose a smaller one");
    if (isInMemory())
        return {std::shared_ptr<const Image>(std::shared_ptr<const Image>(), __image), 0, 0};
    auto image = std::make_shared<Image>();
    __section->read(*image, 0, window);
    return {std::move(image), window.x, window.y};
}

} // namespace vorlen
