#include "images/rasters/colormapexpansion.h"

#include "images/rasters/image.h"
#include "numerics/exception.h"

#include <algorithm>

namespace vorlen {

void ColormapExpansion::setTargetDepth(unsigned int depth) {
    if (depth != 8 && depth != 24 && depth != 32)
        throw DepthError("void ColormapExpansion::setTargetDepth(const unsigned int)", "Invalid depth value");
    __targetDepth = depth;
}

unsigned int ColormapExpansion::getTargetDepth() const {
    return __targetDepth;
}

void ColormapExpansion::removeColormap(Image& image) {
    if (!image.isIndexed())
        return;
    if (!image.isGrayscale()) {
        image.make24bits();
        return;
    }
    ColormapExpansion expansion;
    expansion.setTargetDepth(8);
    expansion.apply(image);
}

void ColormapExpansion::apply(Image& image) const {
    apply(image, image);
}

void ColormapExpansion::apply(Image& result, const Image& source) const {
    if (!source.isIndexed() || source.getData() == nullptr)
        return;
    if (__targetDepth == 8 && !source.getColormap()->isGrayscale())
        return;
    Image expanded;
    expand(expanded, source);
    result.swap(expanded);
}

void ColormapExpansion::expand(Image& result, const Image& source) const {
    const Colormap& colormap = *source.getColormap();
    const int size = std::min(colormap.getSize(), 256);
    unsigned char red[256] = {};
    unsigned char green[256] = {};
    unsigned char blue[256] = {};
    std::copy_n(colormap.getRed(), size, red);
    std::copy_n(colormap.getGreen(), size, green);
    std::copy_n(colormap.getBlue(), size, blue);

    result.init(source.getWidth(), source.getHeight(), static_cast<int>(__targetDepth));
    const unsigned char* index = source.getData();
    const unsigned char* const end = index + source.dataLength();
    unsigned char* target = result.getData();
    const int step = result.bytesPerPixel();
    if (step == 1) {
        for (; index < end; ++index, ++target)
            *target = red[*index];
        return;
    }
    for (; index < end; ++index, target += step) {
        target[0] = red[*index];
        target[1] = green[*index];
        target[2] = blue[*index];
    }
}

} // namespace vorlen
