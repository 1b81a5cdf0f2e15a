#include "ui/viewer/curvepaintergl.h"

namespace vorlen {

template <class T>
void CurvePainterGL<T>::setShape(const Curve<T>& curve) {
    setShape(static_cast<const Shape<T>&>(curve));
}

template <class T>
void CurvePainterGL<T>::glDrawShape() const {
    if (this->displayMode() != SymbolDisplayGL)
        this->drawLevels();
    if (showsVertices())
        this->drawVertices();
}

template <class T>
void CurvePainterGL<T>::prepareShape() const {
    if (dynamic_cast<const Curve<T>*>(this->getShape()) != nullptr)
        VerticesPainterGL<T>::prepareShape();
}

template <class T>
bool CurvePainterGL<T>::showsVertices() const {
    return this->displayMode() == SymbolDisplayGL || this->displayMode() == SymbolCurveDisplayGL;
}

template class CurvePainterGL<float>;
template class CurvePainterGL<double>;
template class CurvePainterGL<long double>;

} // namespace vorlen
