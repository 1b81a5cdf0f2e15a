#pragma once

#include <vector>

#include "shapes/curve.h"
#include "shapes/edge.h"

namespace vorlen {

/// Simplifies a curve within a distance tolerance (Douglas and Peucker, Cartographica 10, 1973).
///
/// A run of vertices is kept apart at its farthest vertex from the line through its ends, the first of several, as long
/// as this one lies farther than the tolerance. Distances are to the infinite line; where the two ends coincide there
/// is none and the run goes. On a closed curve the first and last vertices, with which the marking starts, are put to
/// the test in the end. Fewer than three vertices are left as they are; a negative tolerance counts as 0.
///
/// In the plane the runs are walked over as long as they halve; where they do not, the farthest vertex is found by
/// descending a tree of the bounding boxes of runs, so that unbalanced splits do not make the cost quadratic. Other
/// dimensions are walked over. Distances are formed in long
/// double and compared as float. Compiled for int, float, double, long double.
template <class T>
class DouglasPeuckerCurveDecimation {
public:
    /// In coordinate units.
    void setTolerance(int tolerance) { __tolerance = tolerance; }
    int getTolerance() const { return __tolerance; }

    /// Takes the vertices out of the curve's list; its server keeps them.
    void apply(Curve<T>& curve);

    /// Distance from p to the infinite line through the edge, NaN for an edge of length 0. Exactly 0 for points of int
    /// coordinates on the line.
    float findVertexDistance(const Vector<T>& p, const Edge<T>& edge) const;

    /// Distances of the vertices strictly between first and last to the line through these two, by vertex number. The
    /// other entries are left over from before.
    const Vector<float>& findVerticesDistances(const Curve<T>& curve, int first, int last);

    /// Marks the vertices to keep strictly between first and last. keep has an entry for each vertex.
    void apply(const Curve<T>& curve, Vector<bool>& keep, int first, int last);

    /// On a closed curve, revises the marks of the last vertex and, if that stays, of the first. The lines run through
    /// their neighbours in the curve.
    void postProcess(const Curve<T>& curve, Vector<bool>& keep) const;

private:
    int __tolerance = 0;
    Vector<float> __distances;
};

} // namespace vorlen
