#include "registration/rigidregistration.h"

#include <cmath>

#include "numerics/exception.h"
#include "values/registration.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

/// To a thousandth of a pixel; a shift that is out of all proportion belongs to no image.
double sensibleShift(double shift) {
    return std::abs(shift) < 1e9 ? std::round(shift * 1000) / 1000 : 0;
}

} // namespace

template <class T>
RigidRegistration<T>::~RigidRegistration() = default;

template <class T>
Registration RigidRegistration<T>::sliceRegistration() const {
    if (__centerShift.getSize() != 2)
        throw UsageError("Registration RigidRegistration<T>::sliceRegistration() const", "No registration was run yet");
    // In (column, row) the rotation turns the other way round.
    const double angle = std::atan2(__rotation[0][1], __rotation[0][0]) * 180 / pi;
    return Registration(sensibleShift(__centerShift[1]), sensibleShift(__centerShift[0]),
                        std::isfinite(angle) ? float(angle) : 0);
}

template class RigidRegistration<float>;
template class RigidRegistration<double>;
template class RigidRegistration<long double>;

} // namespace vorlen
