#include "values/registration.h"

#include <cmath>

namespace vorlen {

namespace {

float withinOneTurn(float angle) {
    if (!std::isfinite(angle))
        return angle;
    if (angle < 0 || angle >= 360)
        angle = std::fmod(angle, 360.0f);
    if (angle < 0)
        angle += 360;
    // A tiny negative angle rounds to 360 itself; the sum with 0 makes 0 of -0.
    return angle < 360 ? angle + 0.0f : 0.0f;
}

} // namespace

Registration::Registration(double horShift, double verShift, float rotationAngle)
    : __horShift(horShift), __verShift(verShift), __rotationAngle(withinOneTurn(rotationAngle)) {
}

void Registration::setHorShift(double shift) {
    __horShift = shift;
}

void Registration::setVerShift(double shift) {
    __verShift = shift;
}

void Registration::setRotationAngle(float angle) {
    __rotationAngle = withinOneTurn(angle);
}

bool Registration::isNull() const {
    return __horShift == 0 && __verShift == 0 && __rotationAngle == 0;
}

bool Registration::isFinite() const {
    return std::isfinite(__horShift) && std::isfinite(__verShift) && std::isfinite(__rotationAngle);
}

Registration Registration::operator+(const Registration& other) const {
    return Registration(__horShift + other.__horShift, __verShift + other.__verShift,
                        __rotationAngle + other.__rotationAngle);
}

Registration Registration::operator-(const Registration& other) const {
    return Registration(__horShift - other.__horShift, __verShift - other.__verShift,
                        __rotationAngle - other.__rotationAngle);
}

} // namespace vorlen
