#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace vorlen {

class Image;

/// How grey values beyond bytes are looked at, alike in all images of a stack: which are shown as black and as white,
/// and which stands for the white of a byte, 255, where an algorithm has a number in grey levels.
///
/// Images of bytes need none: they are shown, and computed with, as they are.
struct GreyScale {
    bool operator==(const GreyScale& other) const = default;

    /// What the value is shown as; black for what is no number.
    unsigned char shown(float value) const {
        const float level = (value - low) * (high > low ? 255 / (high - low) : 0);
        return level > 0 ? static_cast<unsigned char>((level < 255 ? level : 255) + 0.5f)
                         : static_cast<unsigned char>(value >= high && value > low ? 255 : 0);
    }

    float low = 0;
    float high = 255;
    float white = 255;
};

/// Finds a grey scale out of images: from their values, one in so many of each, all together.
///
/// Low and high are the values below which 1 and 99.8 of a hundred lie. White is the greatest value of the smallest
/// range that cameras have which holds them all: 1 (of real numbers), 255, 1023, 4095, 16383 or 65535; of greater
/// values it is the greatest itself. So a picture means the same to an algorithm whatever the bits it is stored in.
class GreyScaleFinder {
public:
    /// Leaves images of bytes and of colours alone.
    void add(const Image& image);
    /// Nothing without a value.
    std::optional<GreyScale> find() const;

    static constexpr std::size_t samplesOfImage = std::size_t(1) << 20;

private:
    std::vector<float> __values;
    float __greatest = 0; // of all pixels, not of the sample
    bool __isWhole = true;
};

/// Whether a grey scale is for this image: one of 16 bits or of real numbers.
bool hasGreyScale(const Image& image);

} // namespace vorlen
