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

} // namespace vorlen
