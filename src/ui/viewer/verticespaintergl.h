#pragma once

#include "shapes/vertices.h"
#include "ui/viewer/shapepaintergl.h"

namespace vorlen {

/// Draws the vertices of a shape, each as a symbol, or as a dot when the symbol is undefined, 0 or the dot.
template <class T>
class VerticesPainterGL : public ShapePainterGL<T> {
public:
    using ShapePainterGL<T>::setShape;
    void setShape(const Vertices<T>& vertices);

protected:
    void glDrawShape() const override;
    void prepareShape() const override;
};

} // namespace vorlen
