#pragma once

#include "shapes/curve.h"

namespace vorlen {

/// Redistributes a given number of vertices at even distances along a curve. Both kinds keep the first vertex; an open
/// curve keeps its last one too.
///
/// Lengths are summed in double, in long double for itself. The output may be the input, or share its vertices.
/// Linear in both numbers of vertices. Compiled for float, double, long double.
///
/// All operations throw SizeError when vertices are wanted of a curve without any. A negative number counts as 0.
template <class T>
class CurveResampling {
public:
    /// Gives out the closure of in and resamples by it. out becomes a new curve unless its dimension and size fit; else
    /// its vertices are written in place.
    void apply(const Curve<T>& in, Curve<T>& out, int numVertices) const;

    /// Step length / numVertices, the closing edge included.
    void resamplePolygon(const Curve<T>& in, Curve<T>& out, int numVertices) const;

    /// Step length / (numVertices - 1). A single vertex is the first of in.
    void resamplePolyline(const Curve<T>& in, Curve<T>& out, int numVertices) const;

private:
    void resample(const Curve<T>& in, Curve<T>& out, int numVertices, bool closed) const;
};

} // namespace vorlen
