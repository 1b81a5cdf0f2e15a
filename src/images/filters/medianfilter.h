#pragma once

#include "images/filters/iteratedfilter.h"
#include "images/filters/neighbourhoodfilter.h"
#include "images/rasters/pixelmatrixprocessing.h"
#include "images/volumes/voxelmatrixprocessing.h"

namespace vorlen {

class ParallelWork;
class StepProgress;

/// Replaces each element by the median of its square or cubic window of side 2h + 1, in place, as many times as there
/// are iterations. Elements nearer to the border than h stay, so that a matrix or volume not larger than 2h on a side
/// stays altogether; so it does with h below 1 and with less than 1 iteration. NaN counts as greater than all numbers.
///
/// Half sizes 1 and 2 go through networks of minima and maxima (see MedianNetwork and CubeMedian), all others, the
/// parts of a volume that see a NaN, and matrices with one, through a moving histogram of ranks (see RankMedian). All
/// give the exact median for any T. A table that is kept sorted by single exchanges would do the same work in far more
/// steps: an exchange for each element that an entering one passes, and one element at a time.
///
/// A volume is worked on by all threads of ParallelWork, and needs, beside itself, the memory of at most 2h planes and
/// an eighth of its own (see SlidingPlanes).
///
/// A run reports a step for each row of elements that have a whole window. When it is cancelled, the rows or planes up
/// to some place are filtered and the others are not, and notifyCanceled() takes the place of notifyFinished().
///
/// Compiled for short, unsigned short, int, unsigned int, float, double and long double.
template <class T>
class MedianFilter : public PixelMatrixProcessing<T>,
                     public VoxelMatrixProcessing<T>,
                     public NeighbourhoodFilter,
                     public IteratedFilter {
public:
    /// Both throw SizeError when a window has more than 2^31 elements.
    void apply(PixelMatrix<T>& matrix) override;
    void apply(VoxelMatrix<T>& volume) override;

private:
    // One application, to data that hold at least one whole window. False when it has been cancelled.
    bool standardApply(PixelMatrix<T>& matrix, StepProgress& progress) const;
    bool standardApply(VoxelMatrix<T>& volume, ParallelWork& work) const;
    bool applyNetwork(VoxelMatrix<T>& volume, ParallelWork& work) const;
    bool applyByRanks(VoxelMatrix<T>& volume, ParallelWork& work) const;
};

} // namespace vorlen
