#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/temporaryfolder.h"

namespace vorlen {

/// A BigTIFF of grey bytes whose tiles are four, over and over: the value of a pixel follows from its place.
class SharedTiles {
public:
    static constexpr int side = 512;

    /// The remainders of seven are those in the first row of tiles.
    static int value(int level, int row, int column) {
        const int k = (row / side + column / side) % 4;
        return k * 50 + (row % side + column % side + k * side) % 7 * 5 + level;
    }

    /// Levels of a fourth of the width and height each, all in the chain of directories.
    static std::string write(const TemporaryFolder& folder, const std::string& name, int width, int height,
                             int numLevels) {
        SharedTiles file;
        file.__bytes.assign("II\x2b\0\x08\0\0\0", 8).append(8, '\0');
        std::size_t link = 8;
        for (int level = 0; level < numLevels; ++level, width = (width + 3) / 4, height = (height + 3) / 4)
            link = file.addLevel(level, width, height, link);
        return folder.write(name, file.__bytes);
    }

private:
    /// The place of the link to the next directory.
    std::size_t addLevel(int level, int width, int height, std::size_t link) {
        std::vector<std::uint64_t> tiles;
        for (int k = 0; k < 4; ++k) {
            tiles.push_back(__bytes.size());
            for (int i = 0; i < side; ++i)
                for (int j = 0; j < side; ++j)
                    __bytes += static_cast<char>(value(level, i, k * side + j));
        }
        const int across = (width - 1) / side + 1, down = (height - 1) / side + 1;
        const std::uint64_t number = std::uint64_t(across) * std::uint64_t(down), offsets = __bytes.size();
        for (int i = 0; i < down; ++i)
            for (int j = 0; j < across; ++j)
                append(tiles[std::size_t(i + j) % 4], 8);
        const std::uint64_t counts = __bytes.size();
        for (std::uint64_t i = 0; i < number; ++i)
            append(std::uint64_t(side) * side, 8);
        put(link, __bytes.size());
        append(11, 8);
        entry(254, 4, 1, level > 0 ? 1 : 0);
        entry(256, 4, 1, std::uint64_t(width));
        entry(257, 4, 1, std::uint64_t(height));
        entry(258, 3, 1, 8);
        entry(259, 3, 1, 1);
        entry(262, 3, 1, 1);
        entry(277, 3, 1, 1);
        entry(322, 4, 1, side);
        entry(323, 4, 1, side);
        entry(324, 16, number, offsets);
        entry(325, 16, number, counts);
        append(0, 8);
        return __bytes.size() - 8;
    }

    void append(std::uint64_t value, int numBytes) {
        for (int i = 0; i < numBytes; ++i, value >>= 8)
            __bytes += static_cast<char>(value & 255);
    }

    void put(std::size_t at, std::uint64_t value) {
        for (int i = 0; i < 8; ++i, value >>= 8)
            __bytes[at + std::size_t(i)] = static_cast<char>(value & 255);
    }

    void entry(int tag, int type, std::uint64_t count, std::uint64_t value) {
        append(std::uint64_t(tag), 2);
        append(std::uint64_t(type), 2);
        append(count, 8);
        append(value, 8);
    }

    std::string __bytes;
};

} // namespace vorlen
