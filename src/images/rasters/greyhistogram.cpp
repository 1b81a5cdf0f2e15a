#include "images/rasters/greyhistogram.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "images/rasters/colormap.h"
#include "images/rasters/greysampling.h"
#include "images/rasters/image.h"

namespace vorlen {

namespace {

constexpr std::size_t mostSamples = std::size_t(1) << 20;

/// Values of words and of real numbers; of each so many pixels one.
std::vector<float> sampled(const Image& image, std::size_t step) {
    const std::size_t count = std::size_t(image.getWidth()) * std::size_t(image.getHeight());
    std::vector<float> values;
    values.reserve(count / step + 1);
    for (std::size_t i = 0; i < count; i += step)
        values.push_back(wideValue(image, i));
    return values;
}

void countBytes(const Image& image, GreyHistogram& histogram) {
    histogram.least = -0.5f;
    histogram.greatest = 255.5f;
    const int bytes = image.bytesPerPixel();
    const std::size_t step = samplingStep(image, mostSamples) * std::size_t(bytes);
    const int samples = std::min(bytes, 3); // opacity is no grey value
    const std::size_t length = std::size_t(image.getWidth()) * std::size_t(image.getHeight()) * std::size_t(bytes);
    for (std::size_t i = 0; i < length; i += step)
        for (int k = 0; k < samples; ++k)
            ++histogram.counts[image.getData()[i + std::size_t(k)]];
}

void countValues(const Image& image, GreyHistogram& histogram) {
    const std::vector<float> values = sampled(image, samplingStep(image, mostSamples));
    bool any = false;
    for (const float value : values)
        if (std::isfinite(value)) {
            histogram.least = any ? std::min(histogram.least, value) : value;
            histogram.greatest = any ? std::max(histogram.greatest, value) : value;
            any = true;
        }
    const double range = double(histogram.greatest) - double(histogram.least);
    for (const float value : values) {
        if (!std::isfinite(value)) {
            ++histogram.numLeftOut;
            continue;
        }
        const double place = range > 0 ? (double(value) - double(histogram.least)) / range : 0.5;
        const int bin = std::clamp(int(place * GreyHistogram::numBins), 0, GreyHistogram::numBins - 1);
        ++histogram.counts[std::size_t(bin)];
    }
}

} // namespace

bool GreyHistogram::isFor(const Image& image) {
    return image.getData() != nullptr && (!image.isIndexed() || image.getColormap()->isIdentity());
}

GreyHistogram GreyHistogram::of(const Image& image) {
    GreyHistogram histogram;
    if (!isFor(image))
        return histogram;
    if (image.isReal() || image.getDepth() == 16)
        countValues(image, histogram);
    else
        countBytes(image, histogram);
    for (const std::size_t count : histogram.counts)
        histogram.numSamples += count;
    return histogram;
}

} // namespace vorlen
