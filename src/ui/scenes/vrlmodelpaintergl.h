#pragma once

#include <memory>

#include "ui/viewer/shapepaintergl.h"

namespace vorlen {

class Model;

/// Draws a model as one surface through its contours: resampled as its properties ask for, or closed and through the
/// contours' own vertices where several of them lie on a slice. Lines of which several lie on a slice are drawn as
/// such.
///
/// The model must stand in a VRLStack, whose reconstruction must be up to date; else nothing is drawn.
///
/// Decisions: contours without vertices, as one that is being drawn, take no part. A model whose mesh is to have no
/// vertices, or more than maxNumVertices, is shown by its contours. Polylines make an open sheet.
class VRLModelPainterGL {
public:
    explicit VRLModelPainterGL(const Model& model);
    ~VRLModelPainterGL();

    void setModel(const Model& model);
    const Model* getModel() const { return __model; }

    void glDraw() const;
    bool isOpaque() const;
    /// A QuadMesh, a TriMesh or a CurveStack; null without contours.
    const Shape<float>* getShape() const { return __shape.get(); }
    /// Null without contours.
    const ShapePainterGL<float>* getPainter() const { return __painter.get(); }

    static constexpr long long maxNumVertices = 10000000;

private:
    const Model* __model = nullptr;
    std::unique_ptr<Shape<float>> __shape; // outlives the painter, which sees it
    std::unique_ptr<ShapePainterGL<float>> __painter;
};

} // namespace vorlen
