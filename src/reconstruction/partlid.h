#pragma once

#include <array>
#include <vector>

#include "reconstruction/sectionparts.h"

namespace vorlen {

/// The inside of a ring less that of its holes as triangles, which turn as the ring does. Points are numbered ring
/// after ring; no point is added or left out.
///
/// Holes are joined to the ring by bridges, and the whole is cut ear by ear (D. Eberly, Triangulation by ear clipping,
/// 1998): quadratic time at most for rings with many hollows, linear for round ones. Rings that cross have no inside;
/// they get triangles between all of their edges all the same, so that what they close is closed.
std::vector<std::array<int, 3>> lidOf(const std::vector<std::vector<PlanePoint>>& rings);

} // namespace vorlen
