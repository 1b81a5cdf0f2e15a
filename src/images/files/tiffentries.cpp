#include "images/files/tiffentries.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <set>
#include <vector>

#include "images/files/believablesize.h"

namespace vorlen {

namespace {

constexpr std::uint64_t greatestTile = believedLength / 4; // in pixels of four bytes
constexpr unsigned tileWidthTag = 322, tileLengthTag = 323;

/// Bytes of one value by the type of an entry; 0 for types that there are not.
std::uint64_t sizeOfType(std::uint64_t type) {
    constexpr std::array<unsigned char, 19> sizes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
    return type < sizes.size() ? sizes[std::size_t(type)] : 0;
}

/// The directories of a file, one after another.
class Directories {
public:
    explicit Directories(const std::string& filename)
        : __file(filename, std::ios::binary), __length(lengthOfFile(filename)) {
        char head[16] = {};
        __file.read(head, 8);
        if (!__file)
            return;
        __isBigEndian = head[0] == 'M';
        __isBig = number(head + 2, 2) == 43;
        // Only one maker writes the older form beyond 4 GiB, with offsets of directories in eight bytes. In a shorter
        // file the upper four are nil or lead behind its end.
        __offsetSize = __isBig || __length >> 32 != 0 ? 8 : 4;
        __file.read(head + 8, 8);
        if (__file)
            __next = number(head + fieldSize(), __offsetSize);
        __isReadable = true;
    }

    bool isReadable() const { return __isReadable; }

    /// The entries of the next directory; false behind the last, and where one is met again or is cut.
    bool takeNext() {
        const std::uint64_t countSize = __isBig ? 8 : 2;
        if (__next == 0 || __next > __length - std::min(__length, countSize) || !__met.insert(__next).second)
            return false;
        char count[8] = {};
        __file.seekg(static_cast<std::streamoff>(__next));
        __file.read(count, static_cast<std::streamsize>(countSize));
        const std::uint64_t numEntries = number(count, countSize), left = __length - __next - countSize;
        if (!__file || numEntries > left / entrySize())
            return false;
        __entries.resize(std::size_t(numEntries * entrySize() + __offsetSize));
        __file.read(__entries.data(), static_cast<std::streamsize>(__entries.size()));
        const bool hasNext = bool(__file); // the last directory may end with the file
        __file.clear();
        __numEntries = numEntries;
        __taken += __entries.size();
        __next = hasNext ? number(&__entries[std::size_t(numEntries * entrySize())], __offsetSize) : 0;
        return true;
    }

    /// Of the directory that was taken last, with what those before it have.
    bool isBelievable() {
        std::uint64_t width = 1, height = 1;
        for (std::uint64_t i = 0; i < __numEntries; ++i) {
            const char* const entry = &__entries[std::size_t(i * entrySize())];
            const std::uint64_t tag = number(entry, 2), type = number(entry + 2, 2);
            const std::uint64_t count = number(entry + 4, fieldSize()), size = sizeOfType(type);
            if (size > 0 && count > __length / size)
                return false;
            __taken += count * size;
            if (count == 1 && size > 0 && (tag == tileWidthTag || tag == tileLengthTag))
                (tag == tileWidthTag ? width : height) = number(entry + 4 + fieldSize(), std::min(size, fieldSize()));
        }
        // Directories that lie over one another, or have the same values, make much of a short file.
        constexpr std::uint64_t sharedLength = 1 << 20;
        return __taken / 2 <= __length + sharedLength && (width == 0 || height <= greatestTile / width);
    }

private:
    std::uint64_t entrySize() const { return __isBig ? 20 : 12; }
    std::uint64_t fieldSize() const { return __isBig ? 8 : 4; }

    std::uint64_t number(const char* bytes, std::uint64_t size) const {
        std::uint64_t value = 0;
        for (std::uint64_t i = 0; i < size; ++i)
            value = value << 8 | static_cast<unsigned char>(bytes[__isBigEndian ? i : size - 1 - i]);
        return value;
    }

    std::ifstream __file;
    std::uint64_t __length, __offsetSize = 4, __next = 0, __numEntries = 0, __taken = 0;
    bool __isBigEndian = false, __isBig = false, __isReadable = false;
    std::vector<char> __entries;
    std::set<std::uint64_t> __met;
};

} // namespace

bool hasBelievableEntries(const std::string& filename) {
    Directories directories(filename);
    while (directories.takeNext())
        if (!directories.isBelievable())
            return false;
    return directories.isReadable();
}

} // namespace vorlen
