#pragma once

#include <vector>

#include "images/rasters/pixelmatrixprocessing.h"
#include "images/volumes/voxelmatrixprocessing.h"

namespace vorlen {

/// Numbers the connected regions of a matrix, in place: each element that is not 0 becomes the number of its region,
/// from 1 without gaps, and 0 stays.
///
/// Pixels are connected with the four that share an edge with them, voxels with the six that share a face. Regions are
/// numbered in the order in which a scan meets them: row after row; in a volume all of the first plane, then the first
/// row of each later plane, then plane after plane the rows that remain.
///
/// One scan finds the runs of elements in each row and joins them with those they touch in the row above and in the
/// plane before, in a table where each run points at an earlier one of its region (R. E. Tarjan, J. ACM 22, 1975);
/// a second pass writes the numbers. The working memory is a bit for each element, and four bytes for each run and
/// eight for each row. In a volume the elements are read and written by all threads of ParallelWork.
///
/// Decisions. The numbers must fit into T as integers (up to 32767 for short, 2^24 for float); otherwise RangeError is
/// thrown and the matrix stays as it was. Only the regions count in this, not the runs that turn out to belong
/// together. In an empty matrix there are no regions.
///
/// Cancelling is looked for while a volume is read, which leaves it as it was, and then after each plane. The rows
/// scanned so far then hold numbers, in which regions can still be in parts that later planes would have joined; all
/// other rows hold their old values.
///
/// Compiled for short, unsigned short, int, unsigned int, float, double and long double.
template <class T>
class ComponentLabelling : public PixelMatrixProcessing<T>, public VoxelMatrixProcessing<T> {
public:
    ComponentLabelling() = default;
    ~ComponentLabelling() override;

    /// Throw RangeError when T cannot hold the number of regions.
    void apply(PixelMatrix<T>& matrix) override;
    void apply(VoxelMatrix<T>& volume) override;

    /// Number of regions of the last run.
    int getNumLabels() const { return __labels; }

private:
    int __labels = 0;
};

} // namespace vorlen
