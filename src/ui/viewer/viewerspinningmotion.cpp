#include "ui/viewer/viewerspinningmotion.h"

#include "numerics/maths.h"
#include "numerics/matrix.h"

namespace vorlen {

Vector<float> ViewerSpinningMotion::spun(const Vector<float>& rotation, float degrees) {
    const Matrix<float> turn = Maths::yRotationMatrix3D(Maths::toRadians(degrees)) *
                               Maths::xRotationMatrix3D(Maths::toRadians(rotation[0])) *
                               Maths::yRotationMatrix3D(Maths::toRadians(rotation[1])) *
                               Maths::zRotationMatrix3D(Maths::toRadians(rotation[2]));
    Vector<float> angles(3);
    Maths::decomposeRotationMatrix3D(turn, angles[0], angles[1], angles[2]);
    for (int axis = 0; axis < 3; ++axis)
        angles[axis] = Maths::toDegrees(angles[axis]);
    return angles;
}

void ViewerSpinningMotion::step() {
    rotation = spun(rotation, float(getAngle()));
    emit rotationChanged(rotation);
}

} // namespace vorlen
