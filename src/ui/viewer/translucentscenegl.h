#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "numerics/matrix.h"
#include "ui/viewer/paintergl.h"
#include "ui/viewer/trianglesgl.h"

namespace vorlen {

/// Draws the surfaces of several painters that let others shine through: all their triangles together, from the back to
/// the front as they are seen, so that each colour lies over those behind it from every side. A painter that has no
/// triangles, as one of lines, draws itself before.
///
/// The triangles are gathered when a painter has changed, and ordered when the eye has moved; a change of zoom or
/// translation costs nothing. The order is that of the triangles' middles: of triangles that go through each other, and
/// of large ones beside small ones, it can be wrong in places.
class TranslucentSceneGL {
public:
    /// Where one looks from: the rotation of the scene and its centre; in perspective the eye stands so far from the
    /// centre, towards the viewer, otherwise at 0.
    struct Eye {
        Matrix<float> rotation;
        float center[3];
        float distance;
    };

    /// With blending set and no depth written.
    void glDraw(const std::vector<const PainterGL<float>*>& painters, const Eye& eye) const;

    /// Indexes into the triangles, in the order of the last draw; for tests.
    const std::vector<unsigned int>& getOrder() const { return __order; }

private:
    void gather(const std::vector<const PainterGL<float>*>& painters) const;
    void order(const Eye& eye) const;
    void drawTriangles() const;

    mutable std::vector<std::pair<const PainterGL<float>*, std::uint64_t>> __gathered;
    mutable std::vector<const PainterGL<float>*> __others;
    mutable TrianglesGL __triangles;
    mutable std::vector<unsigned int> __corners; // of the triangles as they were gathered
    mutable std::vector<float> __middles;        // 3 for each triangle
    mutable std::vector<unsigned int> __order;
    mutable std::vector<float> __view; // the eye of the order
};

} // namespace vorlen
