#pragma once

#include "images/rasters/pixelmatrix.h"
#include "images/rasters/pixelmatrixprocessing.h"
#include "images/volumes/voxelmatrix.h"
#include "images/volumes/voxelmatrixprocessing.h"

namespace vorlen {

/// Edge detector: derivatives along each index of a matrix or volume, their norm and angle, the thinning of the norm to
/// lines one pixel wide, and hysteresis.
///
/// The number of a derivative is the index of the matrix: gradient2() (horizontal) runs along the rows, gradient1()
/// (vertical) down the columns.
///
/// The thinning operations compare a pixel with the norm on both sides along its gradient. They decide on the norm as
/// it was given, leave the rows and columns of the border as they are, and examine no pixel whose norm is 0; a matrix
/// of fewer than three rows or columns stays. All operations on several matrices throw SizeError when their sizes
/// differ, before they change anything; the result may be one of the sources.
///
/// Compiled for float, double and long double.
template <class T>
class GradientOperator : virtual public PixelMatrixProcessing<T>, virtual public VoxelMatrixProcessing<T> {
public:
    /// The norm of the gradient.
    void apply(PixelMatrix<T>& matrix) override;
    void apply(VoxelMatrix<T>& volume) override;

    virtual void gradient1(PixelMatrix<T>& matrix) = 0;
    virtual void gradient2(PixelMatrix<T>& matrix) = 0;
    virtual void hGradient(PixelMatrix<T>& matrix) = 0;
    virtual void vGradient(PixelMatrix<T>& matrix) = 0;
    virtual void gradient1(VoxelMatrix<T>& volume) = 0;
    virtual void gradient2(VoxelMatrix<T>& volume) = 0;
    virtual void gradient3(VoxelMatrix<T>& volume) = 0;

    /// Same as apply().
    void norm(PixelMatrix<T>& matrix);
    /// The direction of the gradient, atan2 of the vertical and the horizontal derivative, in radians.
    void angle(PixelMatrix<T>& matrix);

    /// sqrt(h^2 + v^2) of each element. The result takes the size of h.
    static void norm(PixelMatrix<T>& result, const PixelMatrix<T>& h, const PixelMatrix<T>& v);
    /// a becomes sqrt(a^2 + b^2 + c^2).
    static void norm(VoxelMatrix<T>& a, const VoxelMatrix<T>& b, const VoxelMatrix<T>& c);
    /// atan2(v, h) of each element, in radians. The result takes the size of h.
    static void angle(PixelMatrix<T>& result, const PixelMatrix<T>& h, const PixelMatrix<T>& v);

    /// h, the horizontal derivative, becomes the thinned norm of (h, v). Needs the memory of a few rows.
    static void fineNonmaxSuppression(PixelMatrix<T>& h, const PixelMatrix<T>& v);
    /// Clears a pixel of norm g where the norm, interpolated bilinearly at unit distance along (h, v) / g, is at least
    /// g ahead or above g behind: a ridge two pixels wide keeps one.
    static void fineNonmaxSuppression(PixelMatrix<T>& norm, const PixelMatrix<T>& h, const PixelMatrix<T>& v);
    /// Clears a pixel where the norm ahead or behind exceeds it, interpolated linearly between the two of the eight
    /// neighbours between which the gradient points (J. Canny, IEEE PAMI 8, 1986).
    static void nonmaxSuppression(PixelMatrix<T>& norm, const PixelMatrix<T>& h, const PixelMatrix<T>& v);
    /// The gradient counts as horizontal where |h| is at least |v|, else as vertical. Clears a pixel where the
    /// neighbour behind exceeds it or the one ahead is at least as great.
    static void nonmaxSuppressionN4(PixelMatrix<T>& norm, const PixelMatrix<T>& h, const PixelMatrix<T>& v);
    /// The gradient counts as vertical where |v| is at least twice |h|, as horizontal where |h| exceeds twice |v|, else
    /// as diagonal. Clears a pixel where one of the two neighbours in this direction exceeds it.
    static void nonmaxSuppressionN8(PixelMatrix<T>& norm, const PixelMatrix<T>& h, const PixelMatrix<T>& v);

    /// Inner elements become 1 where they are at least high, or at least low and joined to such a one through others of
    /// the 3 by 3 neighbours; else 0. The border stays and joins nothing. NaN becomes 0 or 1 as an element between low
    /// and high would.
    static void hysteresisThresholding(PixelMatrix<T>& matrix, float low, float high);

protected:
    /// a[j] becomes sqrt(a[j]^2 + b[j]^2 + c[j]^2).
    static void normOfRow(T* a, const T* b, const T* c, int count);
};

} // namespace vorlen
