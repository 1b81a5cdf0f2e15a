#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "images/volumes/voxelmatrix.h"
#include "normalization/mapblock.h"

namespace vorlen {

struct DensitySettings;
template <class T>
class Grid;
template <class T>
class Shape;

/// What makes blocks those of one map: SHA-256, in hexadecimal digits, of settings, grid, patterns and masks.
std::string densityKey(const DensitySettings& settings, const Grid<float>& grid,
                       const std::vector<Shape<float>*>& patterns, const std::vector<Shape<float>*>& masks);

/// Writes the planes of a block and what they tell: a line that names the format, a line of JSON, and the elements,
/// plane after plane and row after row, as numbers of 4 bytes, the lowest first. Throws FileWriteError; an old file is
/// whole then.
void saveDensityBlock(const std::string& file, const std::string& key, const MapPlanes& block,
                      const VoxelMatrix<float>& planes, const MapSums& sums);

/// The blocks of a map in files, read plane by plane: never more than one is in memory.
class DensityBlocks {
public:
    /// Reads what the blocks tell. Throws FileReadError for a file that can't be read or is no whole block, UsageError
    /// for one of another map and where planes are missing or there twice.
    DensityBlocks(const std::vector<std::string>& files, const std::string& key, const Vector<int>& size);

    /// What all planes tell.
    const MapSums& sums() const { return __sums; }

    /// Reads one plane into a matrix of one. Throws FileReadError.
    void read(int number, VoxelMatrix<float>& plane) const;

private:
    struct Block {
        std::string file;
        MapPlanes planes;
        std::int64_t start; ///< of the elements
        MapSums sums;
    };

    Block readHead(const std::string& file, const std::string& key) const;

    Vector<int> __size;
    std::vector<Block> __blocks; ///< in the order of their planes
    MapSums __sums;
};

} // namespace vorlen
