#pragma once

namespace vorlen {

/// A point, or a way, in a plane: on a section, in world coordinates.
struct PlanePoint {
    double x = 0;
    double y = 0;
};

} // namespace vorlen
