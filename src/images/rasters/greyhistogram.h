#pragma once

#include <array>
#include <cstddef>

namespace vorlen {

class Image;

/// How often the grey values of an image occur: counts in 256 bins of one width, from the least value to the greatest,
/// of one pixel in so many where there are more than a million. What is no finite number is left out, and counted.
///
/// Images of bytes have a bin for each value. Of colours all samples count; an image of indexes has no grey values.
struct GreyHistogram {
    static constexpr int numBins = 256;

    /// Nothing is in it for an image without pixels or without grey values.
    static GreyHistogram of(const Image& image);
    /// Whether its pixels are values; those of a palette are none, but where each stands for itself.
    static bool isFor(const Image& image);

    bool isEmpty() const { return numSamples == 0; }
    /// The value in the middle of a bin.
    float valueOf(int bin) const { return least + (greatest - least) * (float(bin) + 0.5f) / numBins; }

    float least = 0;    // the left border of the first bin
    float greatest = 0; // the right border of the last bin
    std::array<std::size_t, numBins> counts{};
    std::size_t numSamples = 0; // that are in the bins
    std::size_t numLeftOut = 0; // no finite numbers
};

} // namespace vorlen
