#include "registration/rigidregistration.h"

#include <cmath>

#include "numerics/exception.h"
#include "values/registration.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

/// Towards zero; a shift that no int holds belongs to no image.
int wholePixels(double shift) {
    return std::abs(shift) < 1e9 ? int(shift) : 0;
}

} // namespace

template <class T>
RigidRegistration<T>::~RigidRegistration() = default;

template <class T>
Registration RigidRegistration<T>::sliceRegistration() const {
    if (__centerShift.getSize() != 2)
        throw UsageError("Registration RigidRegistration<T>::sliceRegistration() const", "No registration was run yet");
    // In (column, row) the rotation turns the other way round.
    float angle = float(std::atan2(__rotation[0][1], __rotation[0][0]) * 180 / pi);
    if (angle < 0)
        angle += 360;
    return Registration(wholePixels(__centerShift[1]), wholePixels(__centerShift[0]),
                        angle > 0 && angle < 360 ? angle : 0);
}

template class RigidRegistration<float>;
template class RigidRegistration<double>;
template class RigidRegistration<long double>;

} // namespace vorlen
