#include "values/registration.h"

namespace vorlen {

namespace {

float withinOneTurn(float angle) {
    if (angle < 0)
        angle += 360;
    // Not an else: a tiny negative angle rounds to 360 itself.
    if (angle >= 360)
        angle -= 360;
    return angle;
}

} // namespace

Registration::Registration(int horShift, int verShift, float rotationAngle)
    : __horShift(horShift), __verShift(verShift), __rotationAngle(rotationAngle) {
}

void Registration::setHorShift(int shift) {
    __horShift = shift;
}

void Registration::setVerShift(int shift) {
    __verShift = shift;
}

void Registration::setRotationAngle(float angle) {
    __rotationAngle = angle;
}

bool Registration::isNull() const {
    return __horShift == 0 && __verShift == 0 && __rotationAngle == 0;
}

Registration Registration::operator+(const Registration& other) const {
    return Registration(__horShift + other.__horShift, __verShift + other.__verShift,
                        withinOneTurn(__rotationAngle + other.__rotationAngle));
}

Registration Registration::operator-(const Registration& other) const {
    return Registration(__horShift - other.__horShift, __verShift - other.__verShift,
                        withinOneTurn(__rotationAngle - other.__rotationAngle));
}

} // namespace vorlen
