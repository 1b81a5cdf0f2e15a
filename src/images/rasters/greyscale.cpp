#include "images/rasters/greyscale.h"

#include <algorithm>
#include <cmath>

#include "images/rasters/greysampling.h"
#include "images/rasters/image.h"

namespace vorlen {

bool hasGreyScale(const Image& image) {
    return image.getData() != nullptr && (image.getDepth() == 16 || image.isReal());
}

void GreyScaleFinder::add(const Image& image) {
    if (!hasGreyScale(image))
        return;
    const std::size_t count = std::size_t(image.getWidth()) * std::size_t(image.getHeight());
    const std::size_t step = samplingStep(image, samplesOfImage);
    __values.reserve(__values.size() + std::min(count, samplesOfImage));
    std::size_t next = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const float value = wideValue(image, i);
        if (std::isfinite(value)) {
            __greatest = std::max(__greatest, value);
            __isWhole = __isWhole && value == std::floor(value);
        }
        if (i != next)
            continue;
        next += step;
        if (std::isfinite(value))
            __values.push_back(value);
    }
}

std::optional<GreyScale> GreyScaleFinder::find() const {
    if (__values.empty())
        return std::nullopt;
    std::vector<float> values = __values;
    const auto percentile = [&values](double part) {
        const auto place = values.begin() + static_cast<std::ptrdiff_t>(part * double(values.size() - 1) + 0.5);
        std::nth_element(values.begin(), place, values.end());
        return *place;
    };
    GreyScale scale;
    scale.low = percentile(0.01);
    scale.high = percentile(0.998);
    scale.white = __greatest > 0 ? __greatest : 1;
    if (!__isWhole && __greatest <= 1)
        scale.white = 1;
    else
        for (const float white : {65535.0f, 16383.0f, 4095.0f, 1023.0f, 255.0f})
            if (__greatest <= white)
                scale.white = white;
    if (scale.low == scale.high) { // few pixels of another value than the ground, or none: a blank image is not black
        const auto [least, greatest] = std::minmax_element(values.begin(), values.end());
        const bool blank = *least == *greatest;
        scale.low = blank ? std::min(*least, 0.0f) : *least;
        scale.high = blank ? std::max(scale.white, scale.low + 1) : *greatest;
    }
    return scale;
}

} // namespace vorlen
