#pragma once

// What the sources of TiffPicture share: no other one includes this.

#include <cstddef>
#include <cstdint>
#include <vector>

#include <tiffio.h>

#include "images/files/colourmodels.h"
#include "images/files/orientedrows.h"
#include "images/files/samplecoding.h"
#include "images/files/tiffpicture.h"

namespace vorlen {

/// Where errors of pixels come from.
inline constexpr const char* tiffPixelPlace = "void Image::readTiffPixels(Image&, TIFF*)";

/// The value of a tag, or of its default, or else this one.
template <class Value>
Value tiffTag(TIFF* tiff, ttag_t name, Value otherwise) {
    Value value = otherwise;
    return TIFFGetFieldDefaulted(tiff, name, &value) == 1 ? value : otherwise;
}

/// Whether it is one of the numbers under which makers of slide scanners (33003 for brightness and differences, 33005
/// for red, green and blue) and others have JPEG 2000, which libtiff hands out as it is.
inline bool isJpeg2000(int compression) {
    return compression == 33003 || compression == 33005 || compression == 34712;
}

/// Red, green and blue of a row that libtiff has made.
inline void takeColours(const std::uint32_t* from, int count, unsigned char* to) {
    for (int j = 0; j < count; ++j) {
        *to++ = static_cast<unsigned char>(TIFFGetR(from[j]));
        *to++ = static_cast<unsigned char>(TIFFGetG(from[j]));
        *to++ = static_cast<unsigned char>(TIFFGetB(from[j]));
    }
}

/// The rows of the file on their way to the sink: from packed samples through the samples of the file, in numbers, to
/// those of the page.
struct TiffPicture::Rows {
    Rows(const TiffPicture& picture_, SampleSink& sink)
        : picture(picture_), type(picture_.page.values), sampleLength(bytesOf(picture_.page.storage)),
          out(sink, picture_.orientation, picture_.width, picture_.height,
              std::size_t(picture_.page.numSamples) * sampleLength) {
        const bool packed = type.kind == ValueType::Real ? type.bits < 32 : std::size_t(type.bits) != 8 * sampleLength;
        isDirect = !packed && picture.conversion == None;
        fileRowLength = std::size_t(picture.width) * std::size_t(picture.numFileSamples) * sampleLength;
    }

    /// Bytes of packed samples.
    std::size_t packedLength(std::size_t count) const { return (count * std::size_t(type.bits) + 7) / 8; }

    /// The samples of a file's row go on as those of the page. False when no more are wanted.
    bool put(int row, unsigned char* samples) {
        const std::size_t count = std::size_t(picture.width);
        switch (picture.conversion) {
        case None:
        case ByLibtiff:
            return out.put(row, samples);
        case Invert:
            invertSamples(samples, count, std::size_t(picture.numFileSamples), type);
            return out.put(row, samples);
        case Inks:
            converted.resize(count * 3 * sampleLength);
            inksToRgb(samples, count, picture.numFileSamples, picture.page.storage, converted.data());
            break;
        case Lab:
        case IccLab:
            converted.resize(count * 3 * sampleLength);
            labToRgb(samples, count, picture.numFileSamples, picture.page.storage, picture.conversion == IccLab,
                     converted.data());
        }
        return out.put(row, converted.data());
    }

    const TiffPicture& picture;
    const ValueType type;
    const std::size_t sampleLength;
    OrientedRows out;
    bool isDirect; ///< samples as they come from libtiff are those of the page
    std::size_t fileRowLength;
    std::vector<unsigned char> converted;
};

} // namespace vorlen
