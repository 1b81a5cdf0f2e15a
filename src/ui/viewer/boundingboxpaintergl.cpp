#include "ui/viewer/boundingboxpaintergl.h"

#include "numerics/exception.h"

#include <GL/gl.h>

#include <algorithm>

namespace vorlen {

template <class T>
BoundingBoxPainterGL<T>::BoundingBoxPainterGL() : __color(3) {
    __color.fill(255);
}

template <class T>
BoundingBox<T> BoundingBoxPainterGL<T>::boundingBox() const {
    return __box;
}

template <class T>
void BoundingBoxPainterGL<T>::glDraw() const {
    if (!__active || !__box.isValid() || __box.diagonal() == 0)
        return;
    // Corner j takes the upper end of axis k when bit k of j is set; a box of the plane lies at z 0.
    GLfloat corners[8][3];
    for (int j = 0; j < 8; ++j)
        for (int k = 0; k < 3; ++k)
            corners[j][k] = k >= __box.getVertex1().getSize() ? 0
                            : (j >> k & 1) != 0               ? GLfloat(__box.max(k))
                                                              : GLfloat(__box.min(k));
    static const GLubyte edges[] = {0, 1, 1, 3, 3, 2, 2, 0, 4, 5, 5, 7, 7, 6, 6, 4, 0, 4, 1, 5, 3, 7, 2, 6};
    if (__lineWidth > 0)
        glLineWidth(__lineWidth);
    glDisable(GL_LIGHTING);
    const auto component = [this](int k) { return GLubyte(std::clamp(__color[k], 0, 255)); };
    glColor4ub(component(0), component(1), component(2), 255);
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, corners);
    glDrawElements(GL_LINES, sizeof edges, GL_UNSIGNED_BYTE, edges);
    glDisableClientState(GL_VERTEX_ARRAY);
    glEnable(GL_LIGHTING);
}

template <class T>
void BoundingBoxPainterGL<T>::setColor(const Vector<int>& color) {
    if (color.getSize() != 3)
        throw SizeError("void BoundingBoxPainterGL<T>::setColor(const Vector<int>&)", "A colour has three components");
    __color = color;
}

template class BoundingBoxPainterGL<float>;
template class BoundingBoxPainterGL<double>;
template class BoundingBoxPainterGL<long double>;

} // namespace vorlen
