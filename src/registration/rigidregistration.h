#pragma once

#include "numerics/matrix.h"
#include "numerics/vector.h"
#include "registration/imageregistration.h"

namespace vorlen {

class Registration;

/// Image registration by a rotation and a translation. Positions are (row, column).
template <class T>
class RigidRegistration : public ImageRegistration<T> {
public:
    ~RigidRegistration() override;

    /// Translation of two elements; empty before run().
    const Vector<double>& translation() const { return __translation; }
    /// Rotation matrix, 2 by 2; empty before run().
    const Matrix<double>& rotation() const { return __rotation; }

    /// The result as a slice keeps it, with the angle in degrees from 0 to below 360 and the shifts to a thousandth
    /// of a pixel. A slice turns about its centre and lays this on the centre of the slice before: for images of
    /// different sizes the shift is not translation(). Throws UsageError before run().
    Registration sliceRegistration() const;

protected:
    Vector<double> __translation;
    Matrix<double> __rotation;
    /// Where the rotated centre of the source image lies, seen from the centre of the target image.
    Vector<double> __centerShift;
};

} // namespace vorlen
