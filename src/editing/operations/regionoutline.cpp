#include "editing/operations/regionoutline.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "document/subpixel.h"
#include "images/filters/sumfilter.h"
#include "images/rasters/image.h"
#include "images/regions/isodatathresholding.h"
#include "images/regions/levelline.h"
#include "images/sections/imageparts.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

ImageChannel channelOf(const Image& image) {
    if (image.isRedOnly())
        return RedChannel;
    if (image.isBlueOnly())
        return BlueChannel;
    return image.isGreenOnly() ? GreenChannel : RedChannel;
}

/// Real values in 65536 steps from the least to the greatest; those that are no number count as the least.
PixelMatrix<int> levelsOf(const Image& image) {
    float least = std::numeric_limits<float>::max(), greatest = std::numeric_limits<float>::lowest();
    for (int i = 0; i < image.getHeight(); ++i)
        for (int j = 0; j < image.getWidth(); ++j)
            if (const float value = image.realRow(i)[j]; std::isfinite(value)) {
                least = std::min(least, value);
                greatest = std::max(greatest, value);
            }
    const double step = greatest > least ? 65535 / (double(greatest) - double(least)) : 0;
    PixelMatrix<int> levels(image.getHeight(), image.getWidth());
    for (int i = 0; i < image.getHeight(); ++i)
        for (int j = 0; j < image.getWidth(); ++j) {
            const float value = image.realRow(i)[j];
            levels[i][j] = std::isfinite(value) ? int((double(value) - double(least)) * step + 0.5) : 0;
        }
    return levels;
}

/// The box with a margin around it, as far as the image goes.
PixelWindow partAround(const ImageParts& image, const BoundingBox<int>& box, int margin) {
    const int left = std::max(box.getVertex1()[0] - margin, 0), top = std::max(box.getVertex1()[1] - margin, 0);
    const auto end = [margin](int last, int size) { return last < size - 1 - margin ? last + margin + 1 : size; };
    return {left, top, end(box.getVertex2()[0], image.getWidth()) - left,
            end(box.getVertex2()[1], image.getHeight()) - top};
}

} // namespace

RegionOutline::RegionOutline(const Image& image, const BoundingBox<int>& box, int smoothing)
    : RegionOutline(ImageParts(image), box, smoothing) {
}

RegionOutline::RegionOutline(const ImageParts& image, const BoundingBox<int>& box, int smoothing) {
    constexpr int leastMargin = 256;
    const Vector<int>& low = box.getVertex1();
    const Vector<int>& high = box.getVertex2();
    if (low[0] < 0 || low[1] < 0 || high[0] >= image.getWidth() || high[1] >= image.getHeight())
        throw RangeError("RegionOutline::RegionOutline(const ImageParts&, const BoundingBox<int>&, int)",
                         "The box does not lie on the image");
    int margin = std::max({leastMargin, high[0] - low[0], high[1] - low[1]}) + smoothing;
    const auto fits = [&](int wanted) {
        const PixelWindow part = partAround(image, box, wanted);
        return image.canRead(part.width, part.height);
    };
    while (margin > smoothing && !fits(margin))
        margin = std::max(smoothing, margin / 2);
    for (;; margin *= 2) {
        const PixelWindow window = partAround(image, box, margin);
        const ImageParts::Part part = image.read(window);
        search(*part.image, part.toPart(box), smoothing);
        __left = part.left;
        __top = part.top;
        __cut = !image.isInMemory() && comesToEnd(image, window, smoothing);
        if (!__cut || margin > std::max(image.getWidth(), image.getHeight()) || !fits(2 * margin))
            return;
    }
}

/// Means near a side of the part lack what lies behind it.
bool RegionOutline::comesToEnd(const ImageParts& image, const PixelWindow& part, int smoothing) const {
    if (!isFound())
        return false;
    const Curve<double> outline = levelLine(__sums, __row, __column, __level, 0);
    const double margin = smoothing + 1;
    for (int k = 0; k < outline.getSize(); ++k) {
        const double column = outline[k][0], row = outline[k][1];
        if ((part.x > 0 && column < margin) || (part.y > 0 && row < margin) ||
            (part.x + part.width < image.getWidth() && column > part.width - 1 - margin) ||
            (part.y + part.height < image.getHeight() && row > part.height - 1 - margin))
            return true;
    }
    return false;
}

void RegionOutline::search(const Image& image, const BoundingBox<int>& box, int smoothing) {
    const Vector<int>& low = box.getVertex1();
    const Vector<int>& high = box.getVertex2();
    if (image.isReal())
        __sums = levelsOf(image);
    else if (image.isIndexed())
        __sums.convertGreyFromImage(image);
    else
        __sums.convertFromImage(image, channelOf(image));
    const int area = (2 * smoothing + 1) * (2 * smoothing + 1);
    SumFilter<int> sum;
    sum.setHalfSize(smoothing);
    sum.apply(__sums);

    PixelMatrix<int> region(high[1] - low[1] + 1, high[0] - low[0] + 1);
    for (int i = low[1]; i <= high[1]; ++i)
        std::transform(__sums[i].data() + low[0], __sums[i].data() + high[0] + 1, region[i - low[1]].data(),
                       [area](int total) { return total / area; });
    IsodataThresholding<int> isodata;
    if (image.getDepth() == 16 || image.isReal())
        isodata.setBins(0, 1, 65536);
    __threshold = isodata.computeThreshold(region);

    __level = double(__threshold) * area;
    PixelMatrix<int> borders = __sums;
    Thresholding<int> thresholding;
    thresholding.setForegroundIsAbove(false);
    thresholding.setThreshold(__threshold * area);
    thresholding.apply(borders);
    thresholding.contours(borders);

    __row = (low[1] + high[1]) / 2;
    const int* const row = borders[__row].data();
    const int* const start = std::find(row + low[0], row + high[0] + 1, thresholding.getForeground());
    __column = start <= row + high[0] ? int(start - row) : -1;
}

Curve<double> RegionOutline::follow(int decimation) const {
    Curve<double> outline = levelLine(__sums, __row, __column, __level, decimation);
    for (int k = 0; k < outline.getSize(); ++k)
        for (const int axis : {0, 1})
            outline[k][axis] = subpixel(outline[k][axis] + (axis == 0 ? __left : __top));
    return outline;
}

} // namespace vorlen
