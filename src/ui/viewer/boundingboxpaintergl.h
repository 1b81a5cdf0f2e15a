#pragma once

#include "numerics/vector.h"
#include "ui/viewer/paintergl.h"

namespace vorlen {

/// Draws the twelve edges of a box, unlit. Nothing is drawn while it is inactive or the box has no diagonal.
template <class T>
class BoundingBoxPainterGL : public PainterGL<T> {
public:
    BoundingBoxPainterGL();

    BoundingBox<T> boundingBox() const override;
    void glDraw() const override;

    void setBoundingBox(const BoundingBox<T>& box) { __box = box; }
    const BoundingBox<T>& getBoundingBox() const { return __box; }

    /// Red, green, blue from 0 to 255. Throws SizeError unless there are three.
    void setColor(const Vector<int>& color);
    const Vector<int>& getColor() const { return __color; }

    /// In pixels.
    void setLineWidth(float width) { __lineWidth = width; }
    float getLineWidth() const { return __lineWidth; }

    void setActive(bool active) { __active = active; }
    bool isActive() const { return __active; }

private:
    BoundingBox<T> __box;
    Vector<int> __color;
    float __lineWidth = 1.0f;
    bool __active = true;
};

} // namespace vorlen
