#pragma once

#include "images/filters/interpolationmode.h"
#include "images/rasters/pixelmatrixprocessing.h"
#include "numerics/vector.h"

namespace vorlen {

/// Resizes a matrix in place, one axis after the other.
///
/// An axis that grows from m to n elements is read at j * (m - 1) / (n - 1), so that both ends stay; one that shrinks
/// at j * m / n. The nearest mode takes the element at that position rounded down, the linear mode weighs the two
/// around it. A matrix that grows on one axis and shrinks on the other first shrinks, then grows. Before a reduction,
/// with the low-pass filter on, every element becomes the mean over a window of side 2s + 1, with s the greater of the
/// two ratios rounded down (see SumFilter for the border).
///
/// A matrix or a target without elements is refused; an axis that grows from or to a single element repeats it.
/// The old and the new size may be the same: nothing happens then.
///
/// Compiled for float, double and long double.
template <class T>
class MatrixResize : public virtual PixelMatrixProcessing<T> {
public:
    MatrixResize();

    /// Rows and columns to resize to, 0 and 0 at first. Throws SizeError unless the vector holds two values.
    void setSize(const Vector<int>& size);
    const Vector<int>& getSize() const;

    void setInterpolationMode(InterpolationMode interpolationMode);
    InterpolationMode getInterpolationMode() const;

    /// Off at first.
    void setLowPassFilteringEnabled(bool enabled);
    bool isLowPassFilteringEnabled() const;

    /// Throws SizeError when the matrix or the target has no elements and their sizes differ.
    void apply(PixelMatrix<T>& matrix) override;

    /// Half the rows and columns, rounded down, each element the truncated mean of a block of 2 x 2. When it is
    /// cancelled, the rows not reached keep the values of the upper left part.
    void halve(PixelMatrix<unsigned char>& matrix);

private:
    void enlargement(PixelMatrix<T>& matrix, const Vector<int>& oldSize, const Vector<int>& newSize);
    void reduction(PixelMatrix<T>& matrix, const Vector<int>& oldSize, const Vector<int>& newSize);
    void mixedResize(PixelMatrix<T>& matrix, const Vector<int>& oldSize, const Vector<int>& newSize);

    Vector<int> __size;
    InterpolationMode __interpolationMode = NearestInterpolationMode;
    bool __lowPassFilteringEnabled = false;
};

} // namespace vorlen
