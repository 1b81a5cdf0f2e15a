#include "ui/viewer/viewermotion.h"

#include <algorithm>

#include "document/pose.h"
#include "numerics/exception.h"

namespace vorlen {

ViewerMotion::ViewerMotion(QObject* parent) : QObject(parent), rotation(3) {
    rotation.setZeros();
    __timer.setInterval(50);
    connect(&__timer, &QTimer::timeout, this, &ViewerMotion::step);
}

void ViewerMotion::setActive(bool active) {
    if (active && !isActive())
        __timer.start();
    else if (!active)
        __timer.stop();
}

void ViewerMotion::setTimeout(int timeout) {
    __timer.setInterval(std::max(0, timeout));
}

void ViewerMotion::setRotation(const Vector<float>& angles) {
    if (angles.getSize() != 3)
        throw SizeError("void ViewerMotion::setRotation(const Vector<float>&)", "A rotation has three angles");
    rotation = angles;
}

void ViewerMotion::setRotation(const Pose& pose) {
    rotation = pose.getRotation();
}

} // namespace vorlen
