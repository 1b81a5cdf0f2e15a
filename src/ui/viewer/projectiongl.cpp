#include "ui/viewer/projectiongl.h"

#include "numerics/exception.h"

#include <cmath>

namespace vorlen {

void ProjectionGL::setPerspectiveStrength(float strength) {
    if (!std::isfinite(strength) || strength >= 6)
        throw ValueError("void ProjectionGL::setPerspectiveStrength(float)",
                         "The perspective strength must be below 6");
    __strength = strength;
}

} // namespace vorlen
