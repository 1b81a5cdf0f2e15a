#pragma once

#include "editing/operations/outcome.h"
#include "shapes/vertices.h"

namespace vorlen {

class ModelItem;
class VRLStack;

/// Edits that give a contour other vertices, each one step of the stack's history. What each would make of a contour
/// can be had beforehand, as for a preview. Vertices are pixels (column, row) of the slice and decimals of them; what
/// is computed is rounded to thousandths (subpixel()). A result of fewer than three vertices is refused.

/// Gives the item these vertices.
Outcome changeVertices(VRLStack& stack, ModelItem& item, const Vertices<double>& vertices);

/// Vertices at even distances along the closed contour, at most so many: there are fewer where neighbours come to lie
/// on one place.
Vertices<double> resampledContour(const Vertices<double>& contour, int numVertices);
Outcome resampleContour(VRLStack& stack, ModelItem& item, int numVertices);

/// The most vertices that a closed contour can sensibly be resampled to: one for each pixel of length, at most a
/// million, and not fewer than three.
int mostResampledVertices(const Vertices<double>& contour);

/// The outline without the vertices that lie within a tolerance, in pixels, of its course.
///
/// Decision: between equal ends there is no line to measure from. A closed contour whose last vertices stand where the
/// first one does is taken without these; an open one that comes back to its start is taken in two parts, there and
/// back, that meet at its farthest vertex.
Vertices<double> decimatedContour(const Vertices<double>& contour, bool closed, int tolerance);
Outcome decimateContour(VRLStack& stack, ModelItem& item, int tolerance);

/// The closed contour without its spurs: places where it turns back and runs within the width, in pixels, of its own
/// course. One of which less than three vertices would be left stays as it is.
Vertices<double> withoutSpurs(const Vertices<double>& contour, double width);

/// A contour of which only so many Fourier descriptors are kept, and how much of it that is.
struct SmoothedContour {
    Vertices<double> vertices;
    int numDescriptors;
    float fidelity; // 0 to 1
};
SmoothedContour smoothedContour(const Vertices<double>& contour, int numDescriptors);
/// As many descriptors as the fidelity, from 0 to 1, needs.
SmoothedContour smoothedToFidelity(const Vertices<double>& contour, float fidelity);
Outcome smoothContour(VRLStack& stack, ModelItem& item, int numDescriptors);

/// The closed contour that begins at the vertex of this number, from 0.
Vertices<double> contourFrom(const Vertices<double>& contour, int origin);
Outcome changeOrigin(VRLStack& stack, ModelItem& item, int origin);

} // namespace vorlen
