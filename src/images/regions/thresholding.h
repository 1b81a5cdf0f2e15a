#pragma once

#include "images/rasters/pixelmatrixprocessing.h"
#include "images/volumes/voxelmatrixprocessing.h"

namespace vorlen {

template <class T>
class Curve;

/// Makes two values of many: foreground on one side of a threshold, background on the other; in place.
///
/// Beside it stand the mask of one level, the border of a foreground, and the following of that border into a curve.
/// All compare with the two values and the threshold that are set here. A value that is not a number counts as above
/// the threshold, and equals no level and no foreground.
///
/// Compiled for int, float, double and long double.
template <class T>
class Thresholding : public PixelMatrixProcessing<T>, public VoxelMatrixProcessing<T> {
public:
    Thresholding() = default;
    ~Thresholding() override;

    /// Every element becomes one of the two values; one that equals the threshold counts as above it.
    void apply(PixelMatrix<T>& matrix) override;
    /// The same, on all threads of ParallelWork; progress counts the first index. A run that is cancelled leaves some
    /// rows as they were, and says notifyCanceled() in place of notifyFinished().
    void apply(VoxelMatrix<T>& volume) override;

    void setThreshold(const T& threshold) { __threshold = threshold; }
    const T& getThreshold() const { return __threshold; }
    void setForeground(const T& value) { __foreground = value; }
    const T& getForeground() const { return __foreground; }
    void setBackground(const T& value) { __background = value; }
    const T& getBackground() const { return __background; }

    /// Whether the foreground is made of the values at and above the threshold, or of those below it.
    void setForegroundIsAbove(bool above) { __foregroundIsAbove = above; }
    bool foregroundIsAbove() const { return __foregroundIsAbove; }

    /// Foreground where an element equals the level exactly, background elsewhere.
    void levelSetMask(PixelMatrix<T>& matrix, T level) const;
    void levelSetMask(VoxelMatrix<T>& volume, T level) const;

    /// Leaves of the foreground only its border, one pixel wide: pixels that lie, with their eight neighbours, in the
    /// foreground become background. The outermost rows and columns of the matrix are not touched.
    void contours(PixelMatrix<T>& matrix) const;

    /// Follows the border of a region of foreground pixels from one of its pixels until it is there again and about to
    /// take the same way, and appends the way to the curve: a vertex (row, column) for the start and for each change of
    /// direction. A border may pass its start more than once.
    ///
    /// The walk starts southward, tries at each pixel the three neighbours ahead, and turns to the left where none is
    /// foreground. A tolerance above 0 drops vertices on the way: a vertex moves on to the new pixel instead, where one
    /// coordinate goes on as before and twice the area of the triangle that both span with the vertex before is at most
    /// the tolerance. A region of one pixel gives its start alone. A last side that runs straight into the start ends
    /// with a vertex there.
    ///
    /// Throws RangeError for a start outside the matrix, and ValueError when it is no foreground or when the walk
    /// comes into a loop that the start does not lie on, as from the centre of a plus sign; SizeError when the curve
    /// has vertices of another dimension than 2. The curve is then as it was.
    void extractCurve(Curve<int>& curve, int row, int column, const PixelMatrix<T>& matrix, int tolerance) const;

private:
    T __threshold = T(0);
    T __foreground = T(255);
    T __background = T(0);
    bool __foregroundIsAbove = true;
};

} // namespace vorlen
