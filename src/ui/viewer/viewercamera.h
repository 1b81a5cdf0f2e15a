#pragma once

#include "numerics/vector.h"

namespace vorlen {

/// What a viewer canvas shows of its scene, in the units in which it draws.
struct ViewerCamera {
    Vector<float> rotation; ///< degrees about x, y, z
    float tx = 0, ty = 0;   ///< of the middle of the picture, in scene radii
    float zoom = 1;
    float revealed = 1; ///< the part of the scene's depth, from its first slice on, that is drawn
};

} // namespace vorlen
