#include "ui/viewer/shapeviewerpaintergl.h"

namespace vorlen {

BoundingBox<float> ShapeViewerPainterGL::boundingBox() const {
    return __proxy != nullptr ? __proxy->boundingBox() : BoundingBox<float>();
}

bool ShapeViewerPainterGL::isOpaque() const {
    return __proxy == nullptr || __proxy->isOpaque();
}

void ShapeViewerPainterGL::glDraw() const {
    if (__proxy != nullptr)
        __proxy->glDraw();
}

void ShapeViewerPainterGL::addPoints(std::vector<float>& points) const {
    if (__proxy != nullptr)
        __proxy->addPoints(points);
}

bool ShapeViewerPainterGL::addTriangles(TrianglesGL& triangles) const {
    return __proxy == nullptr || __proxy->addTriangles(triangles);
}

std::uint64_t ShapeViewerPainterGL::revision() const {
    return __proxy != nullptr ? __proxy->revision() : 0;
}

} // namespace vorlen
