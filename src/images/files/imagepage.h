#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "images/rasters/imageformat.h"
#include "images/rasters/valuetype.h"
#include "values/pixelcalibration.h"

namespace vorlen {

class ImageHeader;

/// The C++ type in which samples come out of an ImageFile, in the machine's byte order.
enum class SampleStorage { U8, I8, U16, I16, U32, I32, U64, I64, F32, F64 };

std::size_t bytesOf(SampleStorage storage);

/// Calls with a value of the C++ type of the storage, of which only the type counts.
template <class Call>
decltype(auto) withSampleType(SampleStorage storage, Call&& call) {
    switch (storage) {
    case SampleStorage::U8: // NOLINT(bugprone-branch-clone): each is of another type
        return call(std::uint8_t());
    case SampleStorage::I8:
        return call(std::int8_t());
    case SampleStorage::U16:
        return call(std::uint16_t());
    case SampleStorage::I16:
        return call(std::int16_t());
    case SampleStorage::U32:
        return call(std::uint32_t());
    case SampleStorage::I32:
        return call(std::int32_t());
    case SampleStorage::U64:
        return call(std::uint64_t());
    case SampleStorage::I64:
        return call(std::int64_t());
    case SampleStorage::F32:
        return call(float());
    case SampleStorage::F64:
        break;
    }
    return call(double());
}

/// One picture of an image file, without its pixels: what an ImageFile delivers for it.
///
/// Its rows come from top to bottom as the picture is to be seen, each as numSamples interleaved samples for each
/// pixel. Colour models other than red, green and blue have been converted, and grey values of which the least stand
/// for white have been turned around.
struct ImagePage {
    enum Colour {
        Grey,    ///< the first sample is the grey value, or the samples are channels of their own
        Palette, ///< the sample is an index into the palette
        Rgb,     ///< red, green, blue, and what there is besides
    };

    /// Bytes of a row.
    std::size_t rowLength() const { return std::size_t(width) * std::size_t(numSamples) * bytesOf(storage); }

    /// How an Image holds the picture, or only its channel (1 for the first sample; 0 for all): its size, depth, kind
    /// of values, colormap and calibration. The rules are those of ImageReader. Throws RangeError for a channel that
    /// the picture has not.
    void fillHeader(ImageHeader& header, int channel) const;

    /// "grey"; "red", "green", "blue"; "alpha"; "channel 2".
    std::string channelName(int sample) const;

    int width = 0;
    int height = 0;
    ValueType values;
    SampleStorage storage = SampleStorage::U8;
    Colour colour = Grey;
    int numSamples = 1;
    int alpha = -1;                     ///< the sample that tells how opaque a pixel is; -1 for none
    bool alphaAssociated = false;       ///< whether the others have been multiplied by it
    std::vector<std::uint16_t> palette; ///< of all indexes the red, then the green, then the blue
    PixelCalibration calibration;
    bool hasPixelSize = false; ///< whether the calibration comes from the file, with its unit
};

} // namespace vorlen
