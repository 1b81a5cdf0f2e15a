#pragma once

#include "numerics/squarematrix.h"
#include "numerics/vector.h"

namespace vorlen {

template <class T>
class PixelMatrix;

/// Centre, second moments and principal axis of an image whose grey values are masses, as they are: nothing is
/// thresholded or inverted, so that bright parts weigh most. Positions are (row, column).
///
/// An image without mass, because it is black or its values add up to 0 or to no number, has its centre in the middle,
/// no moments and an angle of 0; hasMass() tells. Sums run in double for float. One pass over the image. Instantiated
/// for float, double and long double.
template <class T>
class MatrixPrincipalAxesAnalysis {
public:
    /// Analyses this image in place of any before. Throws SizeError on an empty one.
    void apply(const PixelMatrix<T>& matrix);

    /// The results throw UsageError before the first apply().

    /// Centre of mass, two elements.
    const Vector<T>& getInertiaCenter() const;

    /// Second central moments in squared pixels, 2 by 2: of the rows, of the columns, and the mixed one twice.
    const SquareMatrix<T>& getInertiaMatrix() const;

    /// Angle in radians, from the direction of the rows' index, of a principal axis. With a and d the moments of rows
    /// and columns and b the mixed one: for |b| not above Vector<T>::epsilon(), 0 when a is at least d, else pi/2;
    /// otherwise atan(y + sqrt(y^2 + 1)) with y = (d - a) / (2 b), from 0 to pi/2. The axis is that of the greatest
    /// spread unless b is negative, when it is that of the least.
    T getAngle() const;

    /// Angle of the axis of the greatest spread, above -pi/2 and not above pi/2. An axis has no sense: the image turned
    /// by a half turn has the same.
    T getMajorAngle() const;

    bool hasMass() const;

private:
    void computeAngle();
    void __checkAnalyzed(const char* where) const;

    bool __analyzed = false;
    Vector<T> __inertiaCenter;
    SquareMatrix<T> __inertiaMatrix;
    T __angle = 0;
    bool __hasMass = false;
};

} // namespace vorlen
