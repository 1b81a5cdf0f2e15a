#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "images/files/imagefile.h"

namespace vorlen {

/// Image file whose pages are the planes of a volume that stand one behind the other, uncompressed or as one stream of
/// gzip. Subclasses read the header and say where the samples begin. Rows and planes are taken in the order of the
/// file.
///
/// A plane of a compressed volume is found by decoding all before it.
class RawVolume : public ImageFile {
public:
    int getNumPages() override { return __numPages; }
    ImagePage getPage(int i) override;
    void read(int i, SampleSink& sink) override;
    StackLayout getLayout() override;

protected:
    explicit RawVolume(const std::string& filename) : ImageFile(filename), __dataFile(filename) {}

    /// What a subclass finds in the header.
    ImagePage __page; // of every plane
    int __numPages = 0;
    int __numPlanes = 0; // of a volume; the others are of further ones: points in time
    std::string __dataFile;
    bool __compressed = false;
    std::uint64_t __offset = 0;                 // of the first sample, in the stream where it is compressed
    std::uint64_t __streamStart = 0;            // of the stream in the file
    bool __swapped = false;                     // samples in the other order of bytes
    std::optional<double> __slope, __intercept; // of the values; the page has real samples then
    ValueType __rawType;                        // of the samples in the file
    std::optional<double> __pixelWidth, __pixelHeight, __spacing;
    LengthUnit __unit{-6};
    std::string __warning;

    /// To be called when all is known. Throws FileFormatError for sizes that make no volume and FileReadError for a
    /// file that is too short for them.
    void requireComplete() const;

    [[noreturn]] void refuse(const std::string& what) const;
};

} // namespace vorlen
