#include "editing/operations/regionoutline.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "images/filters/sumfilter.h"
#include "images/rasters/image.h"
#include "images/regions/isodatathresholding.h"
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

} // namespace

RegionOutline::RegionOutline(const Image& image, const BoundingBox<int>& box, int smoothing) {
    const Vector<int>& low = box.getVertex1();
    const Vector<int>& high = box.getVertex2();
    if (low[0] < 0 || low[1] < 0 || high[0] >= image.getWidth() || high[1] >= image.getHeight())
        throw RangeError("RegionOutline::RegionOutline(const Image&, const BoundingBox<int>&, int)",
                         "The box does not lie on the image");
    if (image.isReal())
        __borders = levelsOf(image);
    else if (image.isIndexed())
        __borders.convertGreyFromImage(image);
    else
        __borders.convertFromImage(image, channelOf(image));
    const int area = (2 * smoothing + 1) * (2 * smoothing + 1);
    SumFilter<int> sum;
    sum.setHalfSize(smoothing);
    sum.apply(__borders);

    PixelMatrix<int> region(high[1] - low[1] + 1, high[0] - low[0] + 1);
    for (int i = low[1]; i <= high[1]; ++i)
        std::transform(__borders[i].data() + low[0], __borders[i].data() + high[0] + 1, region[i - low[1]].data(),
                       [area](int total) { return total / area; });
    IsodataThresholding<int> isodata;
    if (image.getDepth() == 16 || image.isReal())
        isodata.setBins(0, 1, 65536);
    __threshold = isodata.computeThreshold(region);

    Thresholding<int> thresholding;
    thresholding.setForegroundIsAbove(false);
    thresholding.setThreshold(__threshold * area);
    thresholding.apply(__borders);
    thresholding.contours(__borders);

    __row = (low[1] + high[1]) / 2;
    const int* const row = __borders[__row].data();
    const int* const start = std::find(row + low[0], row + high[0] + 1, thresholding.getForeground());
    if (start <= row + high[0])
        __column = int(start - row);
}

Curve<double> RegionOutline::follow(int decimation) const {
    Curve<int> curve(2, 0, 0, 64, false);
    Thresholding<int>().extractCurve(curve, __row, __column, __borders, decimation);
    const int n = curve.getSize();
    Curve<double> outline(2, n, n, 64, false);
    for (int k = 0; k < n; ++k) {
        outline[k][0] = curve[k][1];
        outline[k][1] = curve[k][0];
    }
    return outline;
}

} // namespace vorlen
