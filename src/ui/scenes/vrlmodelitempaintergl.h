#pragma once

#include <memory>

#include "ui/viewer/shapepaintergl.h"

namespace vorlen {

class ModelItem;

/// Draws one item by itself, on its own slice: points as symbols, others as a curve, or as the symbols of its vertices
/// where the model is shown by dots.
///
/// The item must stand on a slice of a VRLStack, whose reconstruction must be up to date; else nothing is drawn.
class VRLModelItemPainterGL {
public:
    explicit VRLModelItemPainterGL(const ModelItem& item);
    ~VRLModelItemPainterGL();

    void setItem(const ModelItem& item);
    const ModelItem* getItem() const { return __item; }

    void glDraw() const;
    /// Null when nothing is drawn.
    const Shape<float>* getShape() const { return __shape.get(); }
    const ShapePainterGL<float>* getPainter() const { return __painter.get(); }

private:
    const ModelItem* __item = nullptr;
    std::unique_ptr<Shape<float>> __shape; // outlives the painter, which sees it
    std::unique_ptr<ShapePainterGL<float>> __painter;
};

} // namespace vorlen
