#pragma once

#include "ui/viewer/shapepaintergl.h"

namespace vorlen {

/// Stands on a canvas for a shape painter that it does not own, with what a list of shapes needs: whether the user has
/// selected it, and a counter that makes its name one of a kind. Without a painter it draws nothing.
class ShapeViewerPainterGL : public PainterGL<float> {
public:
    BoundingBox<float> boundingBox() const override;
    bool isOpaque() const override;
    void glDraw() const override;
    void addPoints(std::vector<float>& points) const override;
    bool addTriangles(TrianglesGL& triangles) const override;
    std::uint64_t revision() const override;

    void setProxy(ShapePainterGL<float>* proxy) { __proxy = proxy; }
    ShapePainterGL<float>* getProxy() const { return __proxy; }

    void setSelected(bool selected) { __selected = selected; }
    bool isSelected() const { return __selected; }

    void setNameCounter(int counter) { __nameCounter = counter; }
    int getNameCounter() const { return __nameCounter; }

private:
    ShapePainterGL<float>* __proxy = nullptr;
    bool __selected = true;
    int __nameCounter = 0;
};

} // namespace vorlen
