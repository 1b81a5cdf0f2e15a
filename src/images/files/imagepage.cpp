#include "images/files/imagepage.h"

#include "images/rasters/imageheader.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

Colormap colormapOf(const std::vector<std::uint16_t>& palette) {
    const std::size_t size = palette.size() / 3;
    Colormap colormap(static_cast<int>(size));
    for (std::size_t i = 0; i < size; ++i) {
        colormap.getRed()[i] = static_cast<unsigned char>(palette[i] >> 8);
        colormap.getGreen()[i] = static_cast<unsigned char>(palette[size + i] >> 8);
        colormap.getBlue()[i] = static_cast<unsigned char>(palette[2 * size + i] >> 8);
    }
    return colormap;
}

} // namespace

std::size_t bytesOf(SampleStorage storage) {
    return withSampleType(
        storage, [](auto type) { return sizeof type; });
}

void ImagePage::fillHeader(ImageHeader& header, int channel) const {
    if (channel < 0 || channel > numSamples)
        throw RangeError("void ImagePage::fillHeader(ImageHeader&, int) const",
                         "There is no channel " + std::to_string(channel) + ": the image has " +
                             std::to_string(numSamples));
    header.setHeight(height);
    header.setWidth(width);
    header.setValueType(values);
    header.setPixelCalibration(calibration);
    const bool one = channel > 0;
    if (!one && colour == Rgb) {
        header.setDepth(alpha >= 0 && !alphaAssociated ? 32 : 24);
    } else if (!one && colour == Palette) {
        header.setDepth(values.bits <= 8 ? 8 : 24);
        if (values.bits <= 8)
            header.setColormap(colormapOf(palette));
    } else if (values.kind == ValueType::Unsigned && values.bits <= 16) {
        header.setDepth(values.bits <= 8 ? 8 : 16);
    } else {
        header.setDepth(32);
        header.setReal(true);
    }
}

std::string ImagePage::channelName(int sample) const {
    static const char* const colours[] = {"red", "green", "blue"};
    if (sample == alpha)
        return "alpha";
    if (colour == Rgb && sample < 3)
        return colours[sample];
    const int others = numSamples - (alpha >= 0 ? 1 : 0);
    return others == 1 ? "grey" : "channel " + std::to_string(sample + 1);
}

} // namespace vorlen
