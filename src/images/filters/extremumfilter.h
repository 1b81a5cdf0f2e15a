#pragma once

#include "images/filters/neighbourhoodfilter.h"
#include "images/rasters/maskpixelmatrixprocessing.h"
#include "images/volumes/maskvoxelmatrixprocessing.h"

namespace vorlen {

/// What MinFilter and MaxFilter share: replaces each element by the smallest (with greatest true, the greatest) of its
/// window, in place: a square or cube of side 2h + 1, clipped at the border,
/// so that a matrix of any size will do. A half size below 1 changes nothing.
///
/// With a mask, set before or given to apply(), the axes are filtered one after the other, and on each axis an element
/// whose mask is 0 stays as it is and the others take the best of those elements of their window whose mask is not 0.
/// A mask of another size is refused with SizeError before anything changes.
///
/// The result is NaN just where the window holds a NaN that no mask hides.
///
/// A run reports a step for each line of each axis. A volume is worked on by all threads of ParallelWork, in place. A
/// run that is cancelled leaves the data filtered in part, and notifyCanceled() takes the place of notifyFinished().
///
/// Compiled for short, unsigned short, int, unsigned int, float, double and long double.
template <class T, bool greatest>
class ExtremumFilter : public MaskPixelMatrixProcessing<T>,
                       public MaskVoxelMatrixProcessing<T>,
                       public NeighbourhoodFilter {
public:
    using MaskPixelMatrixProcessing<T>::setMask;
    using MaskVoxelMatrixProcessing<T>::setMask;
    /// Lets both masks go, that of matrices and that of volumes.
    void unsetMask() override;

    /// Half size of the window across the planes of a volume, where it is another one than along rows and columns;
    /// below 0, as at first, for the same.
    void setPlaneHalfSize(int halfSize) { __planeHalfSize = halfSize; }

    /// One line; out takes the size of in, and may be in. Throws SizeError on a mask of another size.
    void apply(const Vector<T>& in, Vector<T>& out);
    void apply(const Vector<T>& in, Vector<T>& out, const Vector<T>& mask);

    /// With the mask that was set, if any.
    void apply(PixelMatrix<T>& matrix) override;
    void apply(VoxelMatrix<T>& volume) override;
    void apply(PixelMatrix<T>& matrix, const PixelMatrix<T>& mask);
    void apply(VoxelMatrix<T>& volume, const VoxelMatrix<T>& mask);

private:
    void __apply(PixelMatrix<T>& matrix, const PixelMatrix<T>* mask);
    void __apply(VoxelMatrix<T>& volume, const VoxelMatrix<T>* mask);

    int __planeHalfSize = -1;
};

} // namespace vorlen
