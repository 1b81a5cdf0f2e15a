#include "images/files/mrcimagefile.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <fstream>

#include "images/files/samplecoding.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr std::size_t mrcHeaderLength = 1024;

} // namespace

MrcImageFile::MrcImageFile(const std::string& filename) : RawVolume(filename) {
    unsigned char bytes[mrcHeaderLength] = {};
    std::ifstream file(filename, std::ios::binary);
    file.read(reinterpret_cast<char*>(bytes), sizeof bytes);
    if (file.gcount() != static_cast<std::streamsize>(sizeof bytes))
        throw FileReadError("ImageFile::open(const string&)", "The header of MRC is cut off", filename);
    // The machine stamp: 0x44 for little-endian files, 0x11 for the others.
    const bool little = bytes[212] != 0x11;
    __swapped = little != (std::endian::native == std::endian::little);
    const auto word = [&](std::size_t index) {
        unsigned char copy[4];
        std::memcpy(copy, bytes + 4 * index, 4);
        if (__swapped)
            std::reverse(copy, copy + 4);
        std::int32_t value;
        std::memcpy(&value, copy, 4);
        return value;
    };
    const auto real = [&](std::size_t index) { return std::bit_cast<float>(word(index)); };
    __page.width = word(0);
    __page.height = word(1);
    __numPages = __numPlanes = word(2);
    const bool isImod = word(38) == 1146047817;
    switch (word(3)) {
    case 0: // IMOD's older files have unsigned bytes, and say so
        __rawType = {isImod && (word(39) & 1) == 0 ? ValueType::Unsigned : ValueType::Signed, 8};
        break;
    case 1:
        __rawType = {ValueType::Signed, 16};
        break;
    case 2:
        __rawType = {ValueType::Real, 32};
        break;
    case 6:
        __rawType = {ValueType::Unsigned, 16};
        break;
    case 12:
        __rawType = {ValueType::Real, 16};
        break;
    case 16:
        __rawType = {ValueType::Unsigned, 8};
        __page.numSamples = 3;
        __page.colour = ImagePage::Rgb;
        break;
    default:
        refuse("samples of mode " + std::to_string(word(3)));
    }
    __page.values = __rawType;
    __page.storage = storageOf(__rawType);
    const std::int32_t extended = word(23);
    if (extended < 0)
        refuse("samples that begin nowhere");
    __offset = mrcHeaderLength + static_cast<std::uint64_t>(extended);
    __unit = LengthUnit(-9);
    const auto length = [&](std::size_t axis) -> std::optional<double> {
        const double value = double(real(10 + axis)) / word(7 + axis) / 10; // ten angstroms are a nanometer
        return word(7 + axis) > 0 && std::isfinite(value) && value > 0 ? std::optional(value) : std::nullopt;
    };
    __pixelWidth = length(0);
    __pixelHeight = length(1);
    __spacing = length(2);
    requireComplete();
}

} // namespace vorlen
