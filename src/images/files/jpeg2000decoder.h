#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "images/files/imagepage.h"

namespace vorlen {

/// One picture of JPEG 2000, in a file of its own or among the bytes of another one: its header is read at once, its
/// samples by decode(), all of them, on all cores. Bytes begin with a JP2 file or a bare codestream.
///
/// Throws FileReadError with the name of the file for what is damaged or ends early, FileFormatError for components of
/// different types and for more than 31 bits.
class Jpeg2000Decoder {
public:
    explicit Jpeg2000Decoder(const std::string& filename);
    /// The bytes are seen, and stay as long as this lives; the file is the one that is named in errors.
    Jpeg2000Decoder(std::span<const unsigned char> bytes, const std::string& filename);
    ~Jpeg2000Decoder();

    /// As the header tells it: samples of inks or of differences to brightness count as those of red, green and blue.
    ImagePage page() const;

    void decode();

    /// The samples of a row, as they were coded, in order of the components. Only after decode().
    void row(int i, std::int32_t* samples) const;

    bool isInk() const;
    /// Whether it says of itself that it has brightness and the differences of blue and red to it.
    bool isDifference() const;
    int numComponents() const;

    /// Brightness and the differences of blue and red to it, of ITU-R BT.601 over the whole range, the first three of
    /// numSamples of each pixel, to red, green, blue.
    static void differencesToRgb(std::int32_t* samples, std::size_t numPixels, std::size_t numSamples,
                                 const ValueType& values);

private:
    struct Data;

    void readHeader(bool isBare);
    [[noreturn]] void fail() const;
    [[noreturn]] void refuse(const std::string& what) const;

    std::unique_ptr<Data> __data;
};

} // namespace vorlen
