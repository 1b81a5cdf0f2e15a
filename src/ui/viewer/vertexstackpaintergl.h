#pragma once

#include "shapes/vertexstack.h"
#include "ui/viewer/shapepaintergl.h"

namespace vorlen {

/// Draws the vertices of all levels of a stack, as VerticesPainterGL does.
template <class T>
class VertexStackPainterGL : public ShapePainterGL<T> {
public:
    using ShapePainterGL<T>::setShape;
    void setShape(const VertexStack<T>& stack);

protected:
    void glDrawShape() const override;
    void prepareShape() const override;
};

} // namespace vorlen
