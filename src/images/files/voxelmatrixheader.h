#pragma once

#include <cstdint>
#include <string>

namespace vorlen {

/// The sizes, type tag and calibration that stand at the start of a voxel matrix file, with the length of the file.
///
/// It is what a program looks at before it trusts a file: VoxelMatrixHeader::read() reads at most 48 bytes, makes no
/// volume and takes any element type, and fileSizeMatches() says whether the file is as long as its header tells.
///
/// Two layouts exist. Layout 1 starts with three words 0, then version, type tag, three sizes, length unit scale and
/// three voxel sizes (height, width, depth). Layout 0 has nothing but the three sizes; its calibration fields here are
/// those of a new VoxelCalibration and its tag is -1.
///
/// A file that says a negative size, or that ends inside its header, is no voxel matrix and is refused.
/// mayBeLoaded() draws the line between a damaged file, of which the part that is there is worth having, and a file
/// whose sizes cannot be believed: at least half of the data must be there, but volumes of up to 65536 bytes pass
/// always. Sizes of 0 count as 1 in this comparison, since rows and planes cost memory even when they are empty.
class VoxelMatrixHeader {
public:
    /// Bytes before the data in layout 0 and in layout 1.
    static constexpr int headerLength0 = 12;
    static constexpr int headerLength1 = 48;

    /// Reads the header of the file. Throws FileReadError when the file cannot be opened or read or is no regular
    /// file, and FileFormatError when it is shorter than a header or has a negative size. Each names the file.
    static VoxelMatrixHeader read(const std::string& filename);

    /// Reads the header from the first bytes of a file of the given length; length is at least the number of bytes.
    /// Throws FileFormatError with this file name as read() does.
    static VoxelMatrixHeader parse(const unsigned char* bytes, int numBytes, std::int64_t fileLength,
                                   const std::string& filename);

    /// True if the file's length is exactly that of its header and data, for any element type that the tag allows:
    /// 1 or 2 bytes for tag 0, one size for each other tag, any of 1, 2, 4, 8, 12 bytes for layout 0. False for an
    /// unknown tag.
    bool fileSizeMatches() const;

    /// The same for one element size in bytes.
    bool fileSizeMatches(int elementSize) const;

    /// Reads the header of the file and tells whether its length fits; throws as read().
    static bool fileSizeMatchesHeader(const std::string& filename);

    /// Whether the file holds enough of its data to be loaded with this element size in bytes.
    bool mayBeLoaded(int elementSize) const;

    /// Bytes of data that the sizes ask for. More than a 64-bit integer can hold gives its largest value.
    std::int64_t dataLength(int elementSize) const;

    /// Bytes of the file behind the header.
    std::int64_t availableLength() const { return fileLength - length(); }

    /// Bytes before the data.
    int length() const { return layout == 1 ? headerLength1 : headerLength0; }

    int layout = 1;
    int version = 1;
    int typeTag = -1;
    int size1 = 0;
    int size2 = 0;
    int size3 = 0;
    int lengthUnitScale = 0;
    float voxelHeight = 1.0f;
    float voxelWidth = 1.0f;
    float voxelDepth = 1.0f;
    std::int64_t fileLength = 0;
};

} // namespace vorlen
