#include "editing/operations/contouroperations.h"

#include <algorithm>
#include <cmath>

#include "document/modelitem.h"
#include "editing/actions/vrlitemverticeschangeaction.h"
#include "editing/operations/onestep.h"
#include "numerics/maths.h"
#include "shapes/curve.h"
#include "shapes/curveresampling.h"
#include "shapes/douglaspeuckercurvedecimation.h"
#include "shapes/fourierdescriptors.h"

namespace vorlen {

namespace {

Outcome change(VRLStack& stack, ModelItem& item, const Vertices<int>& vertices, const char* refusal) {
    if (vertices.getNumVertices() < 3)
        return Outcome::refused(refusal);
    return inOneStep(stack, {}, [&](EditStep& step) {
        auto action = std::make_unique<VRLItemVerticesChangeAction>(item);
        action->setVertices(vertices);
        step.apply(std::move(action));
    });
}

/// A closed curve with vertices of its own.
Curve<int> copyOf(const Vertices<int>& vertices) {
    Curve<int> curve(vertices, false);
    curve.detach();
    return curve;
}

Curve<float> exactly(const Vertices<int>& vertices) {
    const int n = vertices.getNumVertices();
    Curve<float> curve(2, n, n, n, false);
    for (int k = 0; k < n; ++k)
        for (const int axis : {0, 1})
            curve[k][axis] = float(vertices[k][axis]);
    return curve;
}

/// The vertex that is farthest from the first.
int farthest(const Curve<int>& curve) {
    const auto distance = [&](int k) {
        return std::hypot(double(curve[k][0]) - curve[0][0], double(curve[k][1]) - curve[0][1]);
    };
    int best = 0;
    for (int k = 1; k < curve.getSize(); ++k)
        if (distance(k) > distance(best))
            best = k;
    return best;
}

} // namespace

Outcome changeVertices(VRLStack& stack, ModelItem& item, const Vertices<int>& vertices) {
    return change(stack, item, vertices, "Cannot change a contour to less than 3 vertices");
}

Vertices<int> resampledContour(const Vertices<int>& contour, int numVertices) {
    Curve<float> resampled;
    CurveResampling<float>().apply(exactly(contour), resampled, numVertices);
    const int m = resampled.getNumVertices();
    Vertices<int> vertices(2, m, m, m);
    int numKept = 0;
    for (int k = 0; k < m; ++k) {
        Vector<int>& vertex = vertices[numKept];
        for (const int axis : {0, 1})
            vertex[axis] = int(Maths::fround(resampled[k][axis]));
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

int mostResampledVertices(const Vertices<int>& contour) {
    return std::max(3, int(std::min(exactly(contour).length(), 1e6f)));
}

Vertices<int> decimatedContour(const Vertices<int>& contour, bool closed, int tolerance) {
    Curve<int> curve(contour, !closed); // shares the vertices, of which only the list changes
    const auto endsMeet = [&curve] { return curve.getSize() > 1 && curve[curve.getSize() - 1] == curve[0]; };
    while (closed && endsMeet())
        curve.remove(curve.getSize() - 1);
    DouglasPeuckerCurveDecimation<int> decimation;
    decimation.setTolerance(tolerance);
    const int turn = endsMeet() ? farthest(curve) : 0;
    if (turn == 0) {
        decimation.apply(curve);
        return curve;
    }
    Curve<int> back = curve;
    back.removeOutside(turn, back.getSize() - 1);
    curve.removeOutside(0, turn);
    decimation.apply(back);
    decimation.apply(curve);
    back.remove(0);
    curve.append(back);
    return curve;
}

Outcome decimateContour(VRLStack& stack, ModelItem& item, int tolerance) {
    return change(stack, item, decimatedContour(item.getVertices(), item.isClosed(), tolerance),
                  "Cannot decimate to less than 3 vertices");
}

SmoothedContour smoothedContour(const Vertices<int>& contour, int numDescriptors) {
    Curve<int> curve = copyOf(contour);
    const float fidelity = FourierDescriptors<int>::filter(curve, numDescriptors);
    return {curve, numDescriptors, fidelity};
}

SmoothedContour smoothedToFidelity(const Vertices<int>& contour, float fidelity) {
    Curve<int> curve = copyOf(contour);
    const int numDescriptors = FourierDescriptors<int>::filter(curve, fidelity);
    return {curve, numDescriptors, fidelity};
}

Outcome smoothContour(VRLStack& stack, ModelItem& item, int numDescriptors) {
    return change(stack, item, smoothedContour(item.getVertices(), numDescriptors).vertices,
                  "Cannot smooth a contour of less than 3 vertices");
}

Vertices<int> contourFrom(const Vertices<int>& contour, int origin) {
    Vertices<int> vertices = contour;
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
