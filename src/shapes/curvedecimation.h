#pragma once

#include "shapes/curve.h"

namespace vorlen {

/// Removes the vertices that lie in line with their two neighbours, in the plane of axes 0 and 1: exactly for whole
/// numbers, to the rounding of the coordinates for decimals.
///
/// A pass walks backwards, from the last vertex of a closed curve or the last but one of an open one to vertex 1, and
/// looks at the neighbours as they stand at the moment: a straight run collapses in one pass, spikes that fold back go
/// too. The first vertex, and the last of an open curve, always stay. A closed curve is left with no fewer than two
/// vertices; callers that need more check the result.
///
/// Later passes of a recursive run visit only the vertices whose neighbours have changed, so that a run costs
/// n + r log r for r removed vertices, however many passes it takes. Compiled for int and double.
template <class T>
class CurveDecimation {
public:
    /// Whether passes repeat until one removes nothing. False at construction.
    void setRecursive(bool recursive) { __recursive = recursive; }
    bool isRecursive() const { return __recursive; }

    /// Takes the vertices out of the curve's list; its server keeps them.
    void apply(Curve<T>& curve) const;

private:
    bool __recursive = false;
};

} // namespace vorlen
