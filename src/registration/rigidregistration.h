#pragma once

#include "numerics/matrix.h"
#include "numerics/vector.h"
#include "registration/imageregistration.h"

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

    /// The result as a slice keeps it: the shifts cut to whole pixels towards zero, and the angle in degrees from 0 to
    /// below 360. It means the same as the matrix when this rotates about the centre of the image. Throws UsageError
    /// before run().
    Registration sliceRegistration() const;

protected:
    Vector<double> __translation;
    Matrix<double> __rotation;
};
