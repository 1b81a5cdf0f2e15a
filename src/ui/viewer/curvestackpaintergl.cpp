#include "ui/viewer/curvestackpaintergl.h"

namespace vorlen {

template <class T>
void CurveStackPainterGL<T>::setShape(const CurveStack<T>& stack) {
    setShape(static_cast<const Shape<T>&>(stack));
}

template <class T>
void CurveStackPainterGL<T>::glDrawShape() const {
    if (this->displayMode() != SymbolDisplayGL)
        this->drawLevels();
    if (showsVertices())
        this->drawVertices();
}

template <class T>
void CurveStackPainterGL<T>::prepareShape() const {
    if (dynamic_cast<const CurveStack<T>*>(this->getShape()) != nullptr)
        VertexStackPainterGL<T>::prepareShape();
}

template <class T>
bool CurveStackPainterGL<T>::showsVertices() const {
    return this->displayMode() == SymbolDisplayGL || this->displayMode() == SymbolCurveDisplayGL;
}

template class CurveStackPainterGL<float>;
template class CurveStackPainterGL<double>;
template class CurveStackPainterGL<long double>;

} // namespace vorlen
