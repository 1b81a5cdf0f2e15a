#pragma once

#include "shapes/curve.h"
#include "ui/viewer/verticespaintergl.h"

namespace vorlen {

/// Draws a curve as a line, unless the display mode is 1, and its vertices in modes 1 and 3.
template <class T>
class CurvePainterGL : public VerticesPainterGL<T> {
public:
    using VerticesPainterGL<T>::setShape;
    void setShape(const Curve<T>& curve);

protected:
    void glDrawShape() const override;
    void prepareShape() const override;
    bool showsVertices() const override;
};

} // namespace vorlen
