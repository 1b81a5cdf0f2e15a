#include "ui/viewer/viewerrandommotion.h"

namespace vorlen {

ViewerRandomMotion::ViewerRandomMotion(QObject* parent, long seed) : ViewerMotion(parent), __direction(3) {
    __random.init(seed);
    __direction.fill(1);
}

void ViewerRandomMotion::step() {
    for (int axis = 0; axis < 3; ++axis) {
        if (__random.uniformLF() < 0.001)
            __direction[axis] = -__direction[axis];
        rotation[axis] += float(__direction[axis] * getAngle());
        if (rotation[axis] > 180)
            rotation[axis] -= 360;
        else if (rotation[axis] < -180)
            rotation[axis] += 360;
    }
    emit rotationChanged(rotation);
}

} // namespace vorlen
