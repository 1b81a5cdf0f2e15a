#pragma once

#include <vector>

#include "reconstruction/sectionparts.h"

namespace vorlen {

/// The outlines of a section cut at all of their crossings, and the pieces put together to the borders of the faces in
/// which a ray to the outside crosses them an odd number of times.
///
/// The rings that come out cross neither themselves nor each other, but may touch in points; each outlines one face.
/// Edges that lie on each other cancel by twos. Points closer than a billionth of the outlines' extent are one.
/// Compares the edges that share a height; faces by walking round the half edges of the arrangement.
std::vector<std::vector<PlanePoint>> evenOddRings(const std::vector<SectionRing>& outlines);

} // namespace vorlen
