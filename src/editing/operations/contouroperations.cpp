#include "editing/operations/contouroperations.h"

#include <algorithm>
#include <cmath>

#include "document/lineshape.h"
#include "document/modelitem.h"
#include "document/subpixel.h"
#include "editing/actions/vrlitemverticeschangeaction.h"
#include "editing/operations/onestep.h"
#include "editing/operations/outlineshape.h"
#include "shapes/curve.h"
#include "shapes/curveresampling.h"
#include "shapes/douglaspeuckercurvedecimation.h"
#include "shapes/fourierdescriptors.h"

namespace vorlen {

namespace {

Outcome change(VRLStack& stack, ModelItem& item, const Vertices<double>& vertices, const char* refusal) {
    if (vertices.getNumVertices() < 3)
        return Outcome::refused(refusal);
    return inOneStep(stack, {}, [&](EditStep& step) {
        auto action = std::make_unique<VRLItemVerticesChangeAction>(item);
        action->setVertices(vertices);
        step.apply(std::move(action));
    });
}

/// A closed curve with vertices of its own.
Curve<double> copyOf(const Vertices<double>& vertices) {
    Curve<double> curve(vertices, false);
    curve.detach();
    return curve;
}

/// Smooths by the filter, which computes in float: near to the origin, where its steps are least.
template <class Filter>
Vertices<double> smoothed(const Vertices<double>& contour, Filter&& filter) {
    Curve<double> curve = copyOf(contour);
    const Vector<double> centre = curve.getSize() > 0 ? curve.cog() : Vector<double>(2);
    for (int k = 0; k < curve.getSize(); ++k)
        curve[k] -= centre;
    filter(curve);
    for (int k = 0; k < curve.getSize(); ++k)
        for (const int axis : {0, 1})
            curve[k][axis] = subpixel(curve[k][axis] + centre[axis]);
    return curve;
}

double squaredDistance(const OutlinePoint& p, const OutlinePoint& a, const OutlinePoint& b) {
    return lineshape::squaredDistance(a.x, a.y, b.x, b.y, p.x, p.y);
}

/// Whether the way from the tip runs back along the way to it; one of no length does.
bool turnsBack(const OutlinePoint& before, const OutlinePoint& tip, const OutlinePoint& after, double width) {
    const double turn = (before.x - tip.x) * (after.x - tip.x) + (before.y - tip.y) * (after.y - tip.y);
    const double there = std::hypot(before.x - tip.x, before.y - tip.y);
    const double back = std::hypot(after.x - tip.x, after.y - tip.y);
    return turn >= 0.9 * there * back &&
           std::min(squaredDistance(before, tip, after), squaredDistance(after, tip, before)) <= width * width;
}

/// The vertex that is farthest from the first.
int farthest(const Curve<double>& curve) {
    const auto distance = [&](int k) { return std::hypot(curve[k][0] - curve[0][0], curve[k][1] - curve[0][1]); };
    int best = 0;
    for (int k = 1; k < curve.getSize(); ++k)
        if (distance(k) > distance(best))
            best = k;
    return best;
}

} // namespace

Outcome changeVertices(VRLStack& stack, ModelItem& item, const Vertices<double>& vertices) {
    return change(stack, item, vertices, "Cannot change a contour to less than 3 vertices");
}

Vertices<double> resampledContour(const Vertices<double>& contour, int numVertices) {
    Curve<double> resampled;
    CurveResampling<double>().apply(copyOf(contour), resampled, numVertices);
    const int m = resampled.getNumVertices();
    Vertices<double> vertices(2, m, m, m);
    int numKept = 0;
    for (int k = 0; k < m; ++k) {
        Vector<double>& vertex = vertices[numKept];
        for (const int axis : {0, 1})
            vertex[axis] = subpixel(resampled[k][axis]);
        if (numKept == 0 || vertex != vertices[numKept - 1])
            ++numKept;
    }
    vertices.setSize(numKept, false);
    return vertices;
}

Outcome resampleContour(VRLStack& stack, ModelItem& item, int numVertices) {
    return change(stack, item, resampledContour(item.getVertices(), numVertices),
                  "Cannot resample to less than 3 vertices");
}

int mostResampledVertices(const Vertices<double>& contour) {
    return std::max(3, int(std::min(Curve<double>(contour, false).length(), 1e6)));
}

Vertices<double> decimatedContour(const Vertices<double>& contour, bool closed, int tolerance) {
    Curve<double> curve(contour, !closed); // shares the vertices, of which only the list changes
    const auto endsMeet = [&curve] { return curve.getSize() > 1 && curve[curve.getSize() - 1] == curve[0]; };
    while (closed && endsMeet())
        curve.remove(curve.getSize() - 1);
    DouglasPeuckerCurveDecimation<double> decimation;
    decimation.setTolerance(tolerance);
    const int turn = endsMeet() ? farthest(curve) : 0;
    if (turn == 0) {
        decimation.apply(curve);
        return curve;
    }
    Curve<double> back = curve;
    back.removeOutside(turn, back.getSize() - 1);
    curve.removeOutside(0, turn);
    decimation.apply(back);
    decimation.apply(curve);
    back.remove(0);
    curve.append(back);
    return curve;
}

Vertices<double> withoutSpurs(const Vertices<double>& contour, double width) {
    Outline kept = outlineOf(contour);
    for (std::size_t i = 0; i < kept.size() && kept.size() > 3;) {
        const std::size_t n = kept.size();
        if (turnsBack(kept[(i + n - 1) % n], kept[i], kept[(i + 1) % n], width)) {
            kept.erase(kept.begin() + std::ptrdiff_t(i));
            i -= std::min<std::size_t>(i, 2); // where the way there and the way back are joined now
        } else {
            ++i;
        }
    }
    const ItemVertices vertices = verticesOf(kept, true);
    return vertices.getNumVertices() < 3 ? contour : Vertices<double>(vertices);
}

Outcome decimateContour(VRLStack& stack, ModelItem& item, int tolerance) {
    return change(stack, item, decimatedContour(item.getVertices(), item.isClosed(), tolerance),
                  "Cannot decimate to less than 3 vertices");
}

SmoothedContour smoothedContour(const Vertices<double>& contour, int numDescriptors) {
    float fidelity = 0;
    const Vertices<double> vertices = smoothed(
        contour, [&](Curve<double>& curve) { fidelity = FourierDescriptors<double>::filter(curve, numDescriptors); });
    return {vertices, numDescriptors, fidelity};
}

SmoothedContour smoothedToFidelity(const Vertices<double>& contour, float fidelity) {
    int numDescriptors = 0;
    const Vertices<double> vertices = smoothed(
        contour, [&](Curve<double>& curve) { numDescriptors = FourierDescriptors<double>::filter(curve, fidelity); });
    return {vertices, numDescriptors, fidelity};
}

Outcome smoothContour(VRLStack& stack, ModelItem& item, int numDescriptors) {
    return change(stack, item, smoothedContour(item.getVertices(), numDescriptors).vertices,
                  "Cannot smooth a contour of less than 3 vertices");
}

Vertices<double> contourFrom(const Vertices<double>& contour, int origin) {
    Vertices<double> vertices = contour;
    vertices.setOrigin(origin);
    return vertices;
}

Outcome changeOrigin(VRLStack& stack, ModelItem& item, int origin) {
    if (item.getSize() < 3)
        return Outcome::refused("Cannot change the origin of a contour of less than 3 vertices");
    if (origin < 0 || origin >= item.getSize())
        return Outcome::refused("There is no vertex of this number");
    return changeVertices(stack, item, contourFrom(item.getVertices(), origin));
}

} // namespace vorlen
