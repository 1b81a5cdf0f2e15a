#include "registration/stepsahead.h"

#include <algorithm>
#include <cmath>

namespace vorlen {

namespace {

using Triple = StepsAhead::Triple;

double dot(const Triple& a, const Triple& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// The one and a multiple of the other.
Triple sum(const Triple& a, double factor, const Triple& b) {
    return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}

} // namespace

Triple StepsAhead::after(const Triple& place, const Triple& step) {
    if (__numFound > 0) {
        const int k = (__numFound - 1) % remembered;
        __ways[k] = sum(place, -1, __place);
        __changes[k] = sum(step, -1, __step);
    }
    const Triple ahead = sum(step, 1, further(step));
    ++__numFound;
    __place = place;
    __step = step;
    constexpr double farthest = 5;
    const double length = std::sqrt(dot(ahead, ahead)), most = farthest * std::sqrt(dot(step, step));
    if (!std::isfinite(length) || !(dot(ahead, step) > 0))
        return sum(place, 1, step);
    return sum(place, length > most ? most / length : 1, ahead);
}

Triple StepsAhead::further(const Triple& step) const {
    if (__numFound == 0)
        return {0, 0, 0};
    // Shares of the changes that come nearest to the step. A change that is not there yet is 0, and has none.
    const Triple &first = __changes[0], &second = __changes[1];
    const double ridge = 1e-6 * (dot(first, first) + dot(second, second)) + 1e-30;
    const double a = dot(first, first) + ridge, b = dot(first, second), c = dot(second, second) + ridge;
    const double u = dot(first, step), v = dot(second, step);
    const double determinant = a * c - b * b;
    const double shares[] = {(c * u - b * v) / determinant, (a * v - b * u) / determinant};
    Triple result{0, 0, 0};
    for (int k = 0; k < remembered; ++k)
        result = sum(result, -shares[k], sum(__ways[k], 1, __changes[k]));
    return result;
}

} // namespace vorlen
