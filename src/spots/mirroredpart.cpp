#include "spots/mirroredpart.h"

#include <cstdlib>
#include <vector>

namespace vorlen {

namespace {

/// Index of the element that stands for the one at this index of an axis with so many: the same, or its mirror image.
int mirrored(int index, int size) {
    if (size == 1)
        return 0;
    const int period = 2 * (size - 1);
    index = std::abs(index) % period;
    return index < size ? index : period - index;
}

} // namespace

VoxelMatrix<float> mirroredPart(const VoxelMatrix<float>& volume, const std::array<int, 3>& first,
                                const std::array<int, 3>& size) {
    std::vector<int> columns;
    columns.reserve(std::size_t(size[1]));
    for (int j = 0; j < size[1]; ++j)
        columns.push_back(mirrored(first[1] + j, volume.getSize2()));
    VoxelMatrix<float> result(size[0], size[1], size[2]);
    for (int k = 0; k < size[2]; ++k) {
        const PixelMatrix<float>& source = volume[mirrored(first[2] + k, volume.getSize3())];
        for (int i = 0; i < size[0]; ++i) {
            const float* const from = source[mirrored(first[0] + i, volume.getSize1())].data();
            float* const to = result[k][i].data();
            for (int j = 0; j < size[1]; ++j)
                to[j] = from[columns[std::size_t(j)]];
        }
    }
    return result;
}

} // namespace vorlen
