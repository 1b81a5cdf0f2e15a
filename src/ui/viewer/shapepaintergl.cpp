#include "ui/viewer/shapepaintergl.h"

#include <atomic>

namespace vorlen {

namespace {

/// The attributes that the arrays depend on; the others are set at each draw.
ShapePainterAttributesGL preparedPart(ShapePainterAttributesGL attributes) {
    Vector<int> black(3);
    black.setZeros();
    attributes.setColor(black);
    attributes.setLineWidth(1);
    attributes.setShininess(0);
    attributes.setVisibility(true);
    return attributes;
}

std::uint64_t nextRevision() {
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
}

} // namespace

template <class T>
ShapePainterGL<T>::ShapePainterGL() : __revision(nextRevision()) {
}

template <class T>
ShapePainterGL<T>::~ShapePainterGL() = default;

template <class T>
BoundingBox<T> ShapePainterGL<T>::boundingBox() const {
    return __shape != nullptr && __shape->getNumVertices() > 0 ? __shape->boundingBox() : BoundingBox<T>();
}

template <class T>
bool ShapePainterGL<T>::isOpaque() const {
    return true;
}

template <class T>
void ShapePainterGL<T>::glDraw() const {
    if (__shape == nullptr || !isVisible())
        return;
    __prepare();
    glPreDraw();
    glDrawShape();
    glPostDraw();
}

template <class T>
void ShapePainterGL<T>::addPoints(std::vector<float>& points) const {
    if (__shape == nullptr || !isVisible())
        return;
    __prepare();
    if (array.positions.empty())
        PainterGL<T>::addPoints(points);
    else
        points.insert(points.end(), array.positions.begin(), array.positions.end());
}

template <class T>
bool ShapePainterGL<T>::addTriangles(TrianglesGL& triangles) const {
    if (__shape == nullptr || !isVisible())
        return true; // nothing
    __prepare();
    return addShapeTriangles(triangles);
}

template <class T>
bool ShapePainterGL<T>::addShapeTriangles(TrianglesGL&) const {
    return false;
}

template <class T>
void ShapePainterGL<T>::setShape(const Shape<T>& shape) {
    __shape = &shape;
    invalidate();
}

template <class T>
void ShapePainterGL<T>::setAttributes(const ShapePainterAttributesGL& attributes) {
    if (attributes != __attributes)
        __revision = nextRevision();
    if (preparedPart(attributes) != preparedPart(__attributes))
        __attributesPrepared = false;
    __attributes = attributes;
}

template <class T>
void ShapePainterGL<T>::glInit() {
}

template <class T>
void ShapePainterGL<T>::glClear() {
}

template <class T>
bool ShapePainterGL<T>::isVisible() const {
    return !__attributes.useVisibility() || __attributes.getVisibility();
}

template <class T>
void ShapePainterGL<T>::glPreDraw() const {
    __attributes.glApply();
}

template <class T>
void ShapePainterGL<T>::glPostDraw() const {
    __attributes.glRelease();
}

template <class T>
void ShapePainterGL<T>::prepareShape() const {
}

template <class T>
void ShapePainterGL<T>::prepareAttributes() const {
    if (showsVertices() && __usesSymbols())
        __symbols.prepare(__attributes.getVertexSymbol(), array.positions,
                          {__attributes.useSymbolSize() ? __attributes.getSymbolSize() : 1.0f});
    else
        __symbols.clear();
}

template <class T>
bool ShapePainterGL<T>::showsVertices() const {
    return true;
}

template <class T>
DisplayModeGL ShapePainterGL<T>::displayMode() const {
    return __attributes.useDisplayMode() ? __attributes.getDisplayMode() : UndefinedDisplayGL;
}

template <class T>
void ShapePainterGL<T>::invalidate() {
    __shapePrepared = false;
    __revision = nextRevision();
}

template <class T>
void ShapePainterGL<T>::drawVertices() const {
    if (__usesSymbols())
        __symbols.glDraw();
    else
        array.drawPlain(GL_POINTS, 0, array.getSize());
}

template <class T>
void ShapePainterGL<T>::drawLevels() const {
    for (const Level& level : levels)
        array.drawPlain(level.closed ? GL_LINE_LOOP : GL_LINE_STRIP, level.first, level.size);
}

template <class T>
void ShapePainterGL<T>::__prepare() const {
    if (!__shapePrepared) {
        array.clear();
        levels.clear();
        prepareShape();
    }
    if (!__shapePrepared || !__attributesPrepared) {
        prepareAttributes();
        array.invalidate();
    }
    __shapePrepared = true;
    __attributesPrepared = true;
}

template <class T>
bool ShapePainterGL<T>::__usesSymbols() const {
    return __attributes.useVertexSymbol() && __attributes.getVertexSymbol() != UndefinedSymbolGL &&
           __attributes.getVertexSymbol() != DotSymbolGL;
}

template class ShapePainterGL<float>;
template class ShapePainterGL<double>;
template class ShapePainterGL<long double>;

} // namespace vorlen
