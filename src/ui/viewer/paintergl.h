#pragma once

#include <cstdint>
#include <vector>

#include "shapes/boundingbox.h"

namespace vorlen {

struct TrianglesGL;

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

    /// Adds points between which all lies that is drawn, three coordinates each: the corners of the box, unless a
    /// subclass knows better.
    virtual void addPoints(std::vector<float>& points) const;

    /// Adds the triangles that glDraw() would draw, if it would draw nothing else; false otherwise, as here.
    virtual bool addTriangles(TrianglesGL& triangles) const;

    /// A number that no other state of this or another painter has, when addTriangles() gives something.
    virtual std::uint64_t revision() const;
};

} // namespace vorlen
