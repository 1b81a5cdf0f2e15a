#pragma once

#include "images/filters/interpolationmode.h"
#include "images/volumes/voxelmatrixprocessing.h"
#include "numerics/vector.h"

namespace vorlen {

class ParallelWork;

/// Resizes a volume in place, one axis after the other: second index, first, third.
///
/// An axis that goes from m to n elements is read at j * m / n. The nearest mode takes the element at that position
/// rounded down, the linear mode weighs the two around it; where an axis grows, its last element is the old last one,
/// and positions beyond the old last element take its value. A volume that grows on one axis and shrinks on another
/// first shrinks, then grows. Before a reduction, with the low-pass filter on, every voxel becomes the mean over a
/// cube of side 2s + 1, with s the greatest of the ratios rounded down (see SumFilter for the border).
///
/// The volume covers the same space afterwards: its calibration tells how much larger, or smaller, voxels have become.
/// A volume or a target without elements is refused unless both have the same size.
///
/// Works on several planes at once, with the same bits for any number of threads. When it is cancelled the volume keeps
/// its size and calibration, unless it had shrunk already before growing; its elements then mean nothing.
///
/// Compiled for float, double and long double.
template <class T>
class VolumeResize : public virtual VoxelMatrixProcessing<T> {
public:
    VolumeResize();

    /// Rows, columns and planes to resize to, all 0 at first. Throws SizeError unless the vector holds three values.
    void setSize(const Vector<int>& size);
    const Vector<int>& getSize() const;

    void setInterpolationMode(InterpolationMode interpolationMode);
    InterpolationMode getInterpolationMode() const;

    /// On at first.
    void setLowPassFilteringEnabled(bool enabled);
    bool isLowPassFilteringEnabled() const;

    /// Throws SizeError when the volume or the target has no elements and their sizes differ.
    void apply(VoxelMatrix<T>& volume) override;

private:
    bool enlargement(VoxelMatrix<T>& volume, const Vector<int>& oldSize, const Vector<int>& newSize,
                     ParallelWork& work) const;
    bool reduction(VoxelMatrix<T>& volume, const Vector<int>& oldSize, const Vector<int>& newSize, ParallelWork& work);

    InterpolationMode __interpolationMode = NearestInterpolationMode;
    Vector<int> __size;
    bool __lowPassFilteringEnabled = true;
};

} // namespace vorlen
