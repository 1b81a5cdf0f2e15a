#include "images/files/bmpimagefile.h"

#include <bit>
#include <cstdint>
#include <fstream>
#include <vector>

#include "images/files/believablesize.h"
#include "images/files/samplecoding.h"
#include "images/files/samplesink.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr std::uint32_t bmpUncompressed = 0, bmpBitFields = 3;

/// What stands in front of the pixels.
struct BmpHeader {
    BmpHeader(const std::string& filename, ImagePage& page) {
        std::ifstream file(filename, std::ios::binary);
        bytes.resize(14 + 124);
        file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        const auto got = static_cast<std::size_t>(file.gcount());
        file.clear();
        const auto refuse = [&filename](const std::string& what) {
            throw FileFormatError("ImagePage ImageFile::getPage(int)", "Cannot read BMP with " + what, filename);
        };
        const std::uint32_t headerLength = at(14);
        if (got < 54)
            throw FileReadError("ImagePage ImageFile::getPage(int)", "The header of BMP is cut off", filename);
        if (headerLength < 40)
            refuse("a header of OS/2");
        offset = at(10);
        page.width = static_cast<int>(at(18));
        const auto height = static_cast<std::int32_t>(at(22));
        isUpward = height > 0;
        page.height = height == INT32_MIN ? 0 : isUpward ? height : -height;
        bits = static_cast<int>(at(28) & 0xffff);
        const std::uint32_t compression = at(30);
        if (compression != bmpUncompressed && !(compression == bmpBitFields && (bits == 16 || bits == 32)))
            refuse("compression " + std::to_string(compression) + ": save it without, or as PNG or TIFF");
        if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32)
            refuse(std::to_string(bits) + " bits per pixel");
        if (bits <= 8)
            readPalette(file, headerLength, page);
        else
            page.colour = ImagePage::Rgb, page.numSamples = 3;
        if (bits == 16 || bits == 32)
            for (std::size_t k = 0; k < 3; ++k)
                masks[k] = compression == bmpBitFields ? at(54 + 4 * k)
                           : bits == 16                ? 0x7c00u >> (5 * k)
                                                       : 0xff0000u >> (8 * k);
        if (at(38) > 0 && at(42) > 0 && at(38) < 0x80000000u && at(42) < 0x80000000u) {
            page.hasPixelSize = true;
            page.calibration.setLengthUnit(LengthUnit(-6));
            page.calibration.setPixelWidth(static_cast<float>(1e6 / at(38)));
            page.calibration.setPixelHeight(static_cast<float>(1e6 / at(42)));
            page.calibration.compute();
        }
        rowLength = (std::uint64_t(std::uint32_t(page.width)) * std::uint64_t(bits) + 31) / 32 * 4;
        ImagePage sizes = page;
        requireBelievable(sizes, filename, 1 << 20); // the sizes alone
        const std::uint64_t length = lengthOfFile(filename);
        if (offset > length || (length - offset) / rowLength < std::uint64_t(page.height))
            throw FileReadError("ImagePage ImageFile::getPage(int)",
                                "This file is too short for the image size in its header", filename);
    }

    std::uint32_t at(std::size_t place) const {
        return std::uint32_t(bytes[place]) | std::uint32_t(bytes[place + 1]) << 8 |
               std::uint32_t(bytes[place + 2]) << 16 | std::uint32_t(bytes[place + 3]) << 24;
    }

    void readPalette(std::ifstream& file, std::uint32_t headerLength, ImagePage& page) {
        page.values.bits = bits;
        const std::size_t size = std::size_t(1) << bits;
        const std::size_t number = at(46) > 0 && at(46) < size ? at(46) : size;
        std::vector<unsigned char> entries(4 * number);
        file.seekg(static_cast<std::streamoff>(14 + std::uint64_t(headerLength)));
        file.read(reinterpret_cast<char*>(entries.data()), static_cast<std::streamsize>(entries.size()));
        page.colour = ImagePage::Palette;
        page.palette.resize(3 * size);
        bool isRamp = bits == 8 && number == size;
        for (std::size_t i = 0; i < number; ++i)
            for (std::size_t k = 0; k < 3; ++k) { // blue, green, red
                const unsigned char level = entries[4 * i + 2 - k];
                page.palette[k * size + i] = static_cast<std::uint16_t>(level << 8);
                isRamp = isRamp && level == i;
            }
        if (isRamp) {
            page.colour = ImagePage::Grey;
            page.palette.clear();
        }
    }

    std::vector<unsigned char> bytes;
    std::uint64_t offset = 0, rowLength = 0;
    std::uint32_t masks[3] = {}; // of red, green and blue
    int bits = 0;
    bool isUpward = true;
};

/// The bits under the mask, stretched to a byte.
unsigned char component(std::uint32_t pixel, std::uint32_t mask) {
    if (mask == 0)
        return 0;
    const std::uint64_t value = (pixel & mask) >> std::countr_zero(mask), greatest = mask >> std::countr_zero(mask);
    return static_cast<unsigned char>((value * 255 + greatest / 2) / greatest);
}

} // namespace

ImagePage BmpImageFile::getPage(int i) {
    requirePage(i, 1);
    ImagePage page;
    const BmpHeader header(getFilename(), page);
    return page;
}

void BmpImageFile::read(int i, SampleSink& sink) {
    requirePage(i, 1);
    ImagePage page;
    const BmpHeader header(getFilename(), page);
    std::ifstream file(getFilename(), std::ios::binary);
    file.seekg(static_cast<std::streamoff>(header.offset));
    std::vector<unsigned char> packed(static_cast<std::size_t>(header.rowLength)), samples(page.rowLength());
    const auto width = static_cast<std::size_t>(page.width);
    for (int k = 0; k < page.height; ++k) {
        if (!file.read(reinterpret_cast<char*>(packed.data()), static_cast<std::streamsize>(packed.size())))
            throw FileReadError("void ImageFile::read(int, SampleSink&)", "Cannot read file", getFilename());
        if (header.bits <= 8) {
            unpackSamples(packed.data(), width, page.values, samples.data(), 1);
        } else {
            const auto bytes = static_cast<std::size_t>(header.bits / 8);
            for (std::size_t j = 0; j < width; ++j) {
                const unsigned char* const from = &packed[j * bytes];
                std::uint32_t pixel = 0;
                for (std::size_t b = 0; b < bytes; ++b)
                    pixel |= std::uint32_t(from[b]) << (8 * b);
                for (std::size_t c = 0; c < 3; ++c)
                    samples[3 * j + c] = bytes == 3 ? from[2 - c] : component(pixel, header.masks[c]);
            }
        }
        if (!sink.takeRow(header.isUpward ? page.height - 1 - k : k, samples.data()))
            return;
    }
}

} // namespace vorlen
