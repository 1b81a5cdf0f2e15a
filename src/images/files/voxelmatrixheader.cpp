#include "images/files/voxelmatrixheader.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "images/files/voxelmatrixfile.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr char readPlace[] = "VoxelMatrixHeader VoxelMatrixHeader::read(const string&)";

std::int32_t word(const unsigned char* bytes, int index) {
    std::int32_t value;
    std::memcpy(&value, bytes + 4 * index, sizeof value);
    return value;
}

float real(const unsigned char* bytes, int index) {
    float value;
    std::memcpy(&value, bytes + 4 * index, sizeof value);
    return value;
}

// Product of factors that are not negative, held at the largest value where it would not fit.
std::int64_t boundedProduct(std::int64_t a, std::int64_t b) {
    std::int64_t product;
    return __builtin_mul_overflow(a, b, &product) ? std::numeric_limits<std::int64_t>::max() : product;
}

} // namespace

VoxelMatrixHeader VoxelMatrixHeader::read(const std::string& filename) {
    return VoxelMatrixFileReader(filename, readPlace).header();
}

VoxelMatrixHeader VoxelMatrixHeader::parse(const unsigned char* bytes, int numBytes, std::int64_t fileLength,
                                           const std::string& filename) {
    const char tooShort[] = "File is too short to hold the header of a voxel matrix";
    if (numBytes < headerLength0)
        throw FileFormatError(readPlace, tooShort, filename);
    VoxelMatrixHeader header;
    header.fileLength = fileLength;
    header.layout = word(bytes, 0) == 0 && word(bytes, 1) == 0 && word(bytes, 2) == 0 ? 1 : 0;
    if (header.layout == 0) {
        header.version = 0;
        header.size1 = word(bytes, 0);
        header.size2 = word(bytes, 1);
        header.size3 = word(bytes, 2);
    } else {
        if (numBytes < headerLength1)
            throw FileFormatError(readPlace, tooShort, filename);
        header.version = word(bytes, 3);
        header.typeTag = word(bytes, 4);
        header.size1 = word(bytes, 5);
        header.size2 = word(bytes, 6);
        header.size3 = word(bytes, 7);
        header.lengthUnitScale = word(bytes, 8);
        header.voxelHeight = real(bytes, 9);
        header.voxelWidth = real(bytes, 10);
        header.voxelDepth = real(bytes, 11);
    }
    if (header.size1 < 0 || header.size2 < 0 || header.size3 < 0)
        throw FileFormatError(readPlace, "Voxel matrix has a negative size", filename);
    return header;
}

bool VoxelMatrixHeader::fileSizeMatches() const {
    if (layout == 0)
        return fileSizeMatches(1) || fileSizeMatches(2) || fileSizeMatches(4) || fileSizeMatches(8) ||
               fileSizeMatches(12);
    switch (typeTag) {
    case 0:
        return fileSizeMatches(1) || fileSizeMatches(2);
    case 2:
    case 3:
    case 5:
        return fileSizeMatches(4);
    case 6:
        return fileSizeMatches(8);
    case 7:
        return fileSizeMatches(12);
    default:
        return false;
    }
}

bool VoxelMatrixHeader::fileSizeMatches(int elementSize) const {
    return dataLength(elementSize) == availableLength();
}

bool VoxelMatrixHeader::fileSizeMatchesHeader(const std::string& filename) {
    return read(filename).fileSizeMatches();
}

bool VoxelMatrixHeader::mayBeLoaded(int elementSize) const {
    constexpr std::int64_t alwaysAllowed = 65536;
    VoxelMatrixHeader filled = *this;
    filled.size1 = std::max(size1, 1);
    filled.size2 = std::max(size2, 1);
    filled.size3 = std::max(size3, 1);
    const std::int64_t needed = filled.dataLength(elementSize);
    return needed <= alwaysAllowed || needed / 2 <= availableLength();
}

std::int64_t VoxelMatrixHeader::dataLength(int elementSize) const {
    if (size1 == 0 || size2 == 0 || size3 == 0)
        return 0;
    return boundedProduct(boundedProduct(boundedProduct(size1, size2), size3), elementSize);
}

} // namespace vorlen
