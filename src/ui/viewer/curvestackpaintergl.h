#pragma once

#include "shapes/curvestack.h"
#include "ui/viewer/vertexstackpaintergl.h"

namespace vorlen {

/// Draws each level of a stack of curves, as CurvePainterGL does.
template <class T>
class CurveStackPainterGL : public VertexStackPainterGL<T> {
public:
    using VertexStackPainterGL<T>::setShape;
    void setShape(const CurveStack<T>& stack);

protected:
    void glDrawShape() const override;
    void prepareShape() const override;
    bool showsVertices() const override;
};

} // namespace vorlen
