#include "images/rasters/greysampling.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "images/rasters/image.h"

namespace vorlen {

float wideValue(const Image& image, std::size_t i) {
    if (image.isReal()) {
        float value = 0;
        std::memcpy(&value, image.getData() + 4 * i, 4);
        return value;
    }
    std::uint16_t word = 0;
    std::memcpy(&word, image.getData() + 2 * i, 2);
    return word;
}

std::size_t samplingStep(const Image& image, std::size_t most) {
    const std::size_t count = std::size_t(image.getWidth()) * std::size_t(image.getHeight());
    std::size_t step = std::max<std::size_t>((count + most - 1) / most, 1);
    while (step > 1 && image.getWidth() > 1 && std::size_t(image.getWidth()) % step == 0)
        ++step;
    return step;
}

} // namespace vorlen
