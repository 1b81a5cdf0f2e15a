#pragma once

#include <vector>

#include "images/rasters/maskpixelmatrixprocessing.h"
#include "images/volumes/maskvoxelmatrixprocessing.h"
#include "numerics/matrix.h"
#include "numerics/vector.h"

namespace vorlen {

/// Convolution with one kernel for each axis, in place, one axis after the other: along the rows with kernel2, down the
/// columns with kernel1, across the planes of a volume with kernel3. At last all elements are divided by, or multiplied
/// with, a factor. The number in a name is the index of the matrix along which the kernel runs.
///
/// A line becomes what Vector<T>::conv() makes of it: terms beyond its ends are dropped. With a mask it becomes what
/// the masked conv() makes of it: the weight of a sample that is masked or beyond the end goes to the one at the same
/// distance on the other side, and masked elements stay (but are scaled by the factor as all others). A mask of another
/// size is refused with the SizeError of that operation before anything changes. Along an axis whose kernel is empty a
/// line stays as it is. Kernels should have an odd size; the centre of one of size p is element p / 2. A kernel may be
/// longer than the line.
///
/// A NaN, unless a mask hides it, makes those elements NaN that lie within the kernels' reach of it, and no others.
///
/// A run reports a step for each line of each axis. A volume is worked on by all threads of ParallelWork, in place. A
/// run that is cancelled leaves the data filtered in part and not scaled, or scaled in part, and notifyCanceled() takes
/// the place of notifyFinished().
///
/// The cost for an element and axis is a multiplication and an addition for each element of the kernel. They are done
/// for many neighbouring columns at once, so that memory is read in order on every axis.
///
/// Compiled for float, double and long double.
template <class T>
class SeparableFilterBase : virtual public MaskPixelMatrixProcessing<T>, virtual public MaskVoxelMatrixProcessing<T> {
public:
    using MaskPixelMatrixProcessing<T>::setMask;
    using MaskVoxelMatrixProcessing<T>::setMask;
    /// Lets both masks go, that of matrices and that of volumes.
    void unsetMask() override;

    void apply(PixelMatrix<T>& matrix) override;
    void apply(VoxelMatrix<T>& volume) override;

    const Vector<T>& getKernel1() const { return __kernel1; }
    const Vector<T>& getKernel2() const { return __kernel2; }
    const Vector<T>& getKernel3() const { return __kernel3; }
    const Vector<T>& getVMask() const { return __kernel1; }
    const Vector<T>& getHMask() const { return __kernel2; }

    /// Outer product of kernel1 and kernel2: the kernel of the plane, before the factor.
    Matrix<T> kernel2D() const;

protected:
    SeparableFilterBase() = default;

    void setKernel1(const Vector<T>& kernel) { __kernel1 = kernel; }
    void setKernel2(const Vector<T>& kernel) { __kernel2 = kernel; }
    void setKernel3(const Vector<T>& kernel) { __kernel3 = kernel; }
    void setVMask(const Vector<T>& kernel) { __kernel1 = kernel; }
    void setHMask(const Vector<T>& kernel) { __kernel2 = kernel; }
    void setDivideBy(const T& factor);
    void setMultiplyBy(const T& factor);

private:
    void maskedApply(PixelMatrix<T>& matrix);
    void maskedApply(VoxelMatrix<T>& volume);
    void __apply(PixelMatrix<T>& matrix, const PixelMatrix<T>* mask);
    void __apply(VoxelMatrix<T>& volume, const VoxelMatrix<T>* mask);
    void __scale(PixelMatrix<T>& matrix) const;
    void __scale(Vector<T>& row) const;

    Vector<T> __kernel1;
    Vector<T> __kernel2;
    Vector<T> __kernel3;
    T __factor = T(1);
    bool __divide = false;
};

} // namespace vorlen
