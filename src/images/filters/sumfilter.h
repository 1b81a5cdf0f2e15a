#pragma once

#include "images/filters/neighbourhoodfilter.h"
#include "images/rasters/pixelmatrixprocessing.h"
#include "images/volumes/voxelmatrixprocessing.h"

namespace vorlen {

/// Replaces each element by the sum over its window, in place.
///
/// The window is a square or cube of side 2h + 1 and the sum runs along one axis after the other. Where a window along
/// an axis would leave the matrix, the element itself stands for all of the window: it is multiplied by 2h + 1, so
/// that a constant matrix stays constant, at (2h + 1) to the power of its dimension times its value. An axis shorter
/// than the window is multiplied so throughout. A half size below 1 changes nothing.
///
/// In ball mode the window is a disc or ball of radius h, and elements outside the matrix count as nothing.
///
/// The cost for an element is one addition and one subtraction on each axis whatever h; the ball mode visits the whole
/// window. Sums of float run in double, so that a long line does not gather the errors of its running sum; integer
/// sums wrap around at the width of T, and the caller chooses T and h.
///
/// NaN and infinities stay where the windows are that hold them: such a sum is NaN or infinite, and no other one is.
///
/// A volume is worked on by all threads of ParallelWork, in place; in ball mode the memory of at most h planes and a
/// 32nd of its own stands beside it. When a run is cancelled, notifyCanceled() takes the place of notifyFinished(): a
/// volume is then filtered in part (in ball mode the planes up to some place), and so is a matrix unless in ball mode.
///
/// Compiled for short, unsigned short, int, unsigned int, float, double and long double.
template <class T>
class SumFilter : public NeighbourhoodFilter, public PixelMatrixProcessing<T>, public VoxelMatrixProcessing<T> {
public:
    SumFilter();

    void apply(PixelMatrix<T>& matrix) override;
    void apply(VoxelMatrix<T>& volume) override;

private:
    void __applyBall(PixelMatrix<T>& matrix);
    void __applyBall(VoxelMatrix<T>& volume);
};

} // namespace vorlen
