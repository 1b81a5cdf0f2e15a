#pragma once

#include "shapes/boundingbox.h"

namespace vorlen {

/// Something that is drawn on a viewer canvas. It has no box, is opaque and draws nothing until a subclass says
/// otherwise. Instantiated for float, double and long double, as all painters.
template <class T>
class PainterGL {
public:
    PainterGL() = default;
    PainterGL(const PainterGL&) = delete;
    PainterGL& operator=(const PainterGL&) = delete;
    virtual ~PainterGL();

    /// Where the painter draws, in world coordinates; the default box where it draws nothing.
    virtual BoundingBox<T> boundingBox() const;

    /// Whether nothing shines through, so that the painter draws before those that are not opaque.
    virtual bool isOpaque() const;

    /// Draws into the current OpenGL context, with the camera set.
    virtual void glDraw() const;
};

} // namespace vorlen
