#pragma once

#include "images/volumes/voxelmatrix.h"
#include "images/volumes/voxelmatrixprocessing.h"

namespace vorlen {

class ParallelWork;

/// What the erosion and the dilation of a volume share; see VoxelMatrixErosion and VoxelMatrixDilatation. With dilation
/// false each voxel becomes the smallest difference, else the greatest sum, of a voxel under the structuring element
/// and the element there. The element's origin is its centre; it is not reflected in either.
///
/// Voxels outside the volume take no part, so that the border is neutral whatever the heights. Results that leave the
/// range of an integer T are set to its end; the work is done in a wider type. The element is 1 x 1 x 1 with the value
/// 0 at first, which changes nothing.
///
/// An element of one constant height is a window, whose cost does not depend on its size. Any other costs a subtraction
/// and a comparison for each of its elements and voxel, a vector of neighbouring columns at a time.
///
/// A voxel becomes NaN just where the element covers one.
///
/// A run reports each row of each plane, in parts of a total of rows times columns. The volume is worked on by all
/// threads of ParallelWork, in place; an element that is not flat needs the memory of as many planes as it has, in a
/// type wide enough. A run that is cancelled leaves the volume filtered in part, and notifyCanceled() takes the place
/// of notifyFinished().
template <class T, bool dilation>
class GreyMorphology : public VoxelMatrixProcessing<T> {
public:
    GreyMorphology();

    /// Throws SizeError when the sizes sum to 0 or one of them is even.
    void setStructElt(const VoxelMatrix<T>& element);
    const VoxelMatrix<T>& getStructElt() const { return __element; }

    void apply(VoxelMatrix<T>& volume) override;

private:
    bool __isFlat() const;
    bool __applyWindow(VoxelMatrix<T>& volume, ParallelWork& work) const;
    bool __applyElement(VoxelMatrix<T>& volume, ParallelWork& work) const;

    VoxelMatrix<T> __element;
};

} // namespace vorlen
