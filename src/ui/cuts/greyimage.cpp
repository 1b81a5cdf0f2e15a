#include "ui/cuts/greyimage.h"

#include <algorithm>
#include <array>

#include "document/slice.h"
#include "images/filters/meanfilter.h"
#include "images/filters/resizexform.h"
#include "images/rasters/colormap.h"
#include "images/rasters/image.h"
#include "numerics/maths.h"

namespace vorlen {

void loadGrey(const Slice& slice, Image& image) {
    slice.load(image);
    image.make8bitsGrayscale();
    if (!image.isIndexed())
        return;
    std::array<unsigned char, 256> greyOf{};
    const Colormap& colormap = *image.getColormap(); // red, green and blue are alike now
    std::copy_n(colormap.getRed(), std::min(256, colormap.getSize()), greyOf.begin());
    unsigned char* const data = image.getData();
    for (std::size_t k = 0; k < image.dataLength(); ++k)
        data[k] = greyOf[data[k]];
    image.setGrayscale(0);
}

void smoothToSize(Image& image, int width, int height) {
    const double ratio = std::max(image.getWidth() / double(width), image.getHeight() / double(height));
    const int halfSize = Maths::fround(ratio * 0.5);
    if (halfSize < 1)
        return;
    MeanFilter filter;
    filter.setHalfSize(halfSize);
    filter.apply(image);
}

void resizeTo(Image& image, int width, int height) {
    ResizeXForm resize(NearestInterpolationMode);
    resize.setSize(width, height);
    resize.apply(image);
}

} // namespace vorlen
