#include "images/rasters/imageconversion.h"

#include "images/rasters/colormapexpansion.h"
#include "images/rasters/image.h"

#include <iostream>

namespace vorlen {

void ImageConversion::apply(Image& image) const {
    if (image.isIndexed() == targetIndexed && image.getDepth() == targetDepth && image.isGrayscale() == targetGrayscale)
        return;
    if (targetGrayscale && image.isIndexed()) {
        indexedColor_to_indexedGray(image);
        if (!targetIndexed)
            indexedGray_to_plainGray(image);
        return;
    }
    std::cerr << "TOLV Image Lib: Conversion not implemented" << std::endl;
}

void ImageConversion::apply(Image& result, const Image& source) const {
    result = source;
    apply(result);
}

void ImageConversion::indexedColor_to_indexedGray(Image& image) {
    Colormap colormap(*image.getColormap());
    colormap.convertToGrayscale();
    image.setColormap(colormap);
}

void ImageConversion::indexedGray_to_plainGray(Image& image) {
    ColormapExpansion expansion;
    expansion.setTargetDepth(8);
    expansion.apply(image);
}

} // namespace vorlen
