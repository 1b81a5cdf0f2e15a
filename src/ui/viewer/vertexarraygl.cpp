#include "ui/viewer/vertexarraygl.h"

#include <algorithm>
#include <cstdint>

namespace vorlen {

namespace {

template <class Element>
const char* bind(BufferGL& buffer, const std::vector<Element>& array) {
    return buffer.bind(array.data(), array.size() * sizeof(Element));
}

/// Lines and points have no surface that light could fall on: they appear in their own colour.
class Unlit {
public:
    Unlit() : __lit(glIsEnabled(GL_LIGHTING)) { glDisable(GL_LIGHTING); }
    ~Unlit() {
        if (__lit)
            glEnable(GL_LIGHTING);
    }
    Unlit(const Unlit&) = delete;
    Unlit& operator=(const Unlit&) = delete;

private:
    bool __lit;
};

} // namespace

void VertexArrayGL::clear() {
    positions.clear();
    normals.clear();
    colors.clear();
    indexes.clear();
    invalidate();
}

void VertexArrayGL::invalidate() {
    for (BufferGL* buffer : {&__positionBuffer, &__normalBuffer, &__colorBuffer, &__indexBuffer})
        buffer->invalidate();
}

template <class T>
void VertexArrayGL::append(const Vertices<T>& vertices) {
    const int size = vertices.getNumVertices();
    const std::size_t first = positions.size();
    positions.resize(first + 3 * std::size_t(size), 0.0f);
    float* out = positions.data() + first;
    for (int i = 0; i < size; ++i, out += 3) {
        const Vector<T>& v = vertices[i];
        std::copy_n(v.data(), std::min(v.getSize(), 3), out);
    }
}

void VertexArrayGL::drawPlain(GLenum primitive, int first, int count) const {
    if (count <= 0)
        return;
    const Unlit unlit;
    __setPositions();
    glDrawArrays(primitive, first, count);
    glDisableClientState(GL_VERTEX_ARRAY);
}

void VertexArrayGL::drawPlain(GLenum primitive) const {
    const Unlit unlit;
    __setPositions();
    __drawIndexed(primitive, 0, indexes.size());
    glDisableClientState(GL_VERTEX_ARRAY);
}

void VertexArrayGL::drawLit(GLenum primitive) const {
    if (normals.size() == positions.size())
        drawLit(primitive, 0, indexes.size());
    else
        drawPlain(primitive);
}

void VertexArrayGL::drawLit(GLenum primitive, std::size_t first, std::size_t count) const {
    __setPositions();
    glEnableClientState(GL_NORMAL_ARRAY);
    glNormalPointer(GL_FLOAT, 0, bind(__normalBuffer, normals));
    __normalBuffer.release();
    if (colors.size() / 4 == normals.size() / 3 && !colors.empty()) {
        glEnable(GL_COLOR_MATERIAL);
        glEnableClientState(GL_COLOR_ARRAY);
        glColorPointer(4, GL_UNSIGNED_BYTE, 0, bind(__colorBuffer, colors));
        __colorBuffer.release();
    }
    __drawIndexed(primitive, first, count);
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
}

void VertexArrayGL::__setPositions() const {
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, bind(__positionBuffer, positions));
    __positionBuffer.release();
}

void VertexArrayGL::__drawIndexed(GLenum primitive, std::size_t first, std::size_t count) const {
    if (count == 0)
        return;
    // With a buffer bound the address counts from 0.
    const auto start = reinterpret_cast<std::uintptr_t>(bind(__indexBuffer, indexes)) + first * sizeof(unsigned int);
    // The range spares the driver a walk over the indexes.
    glDrawRangeElements(primitive, 0, GLuint(getSize() - 1), GLsizei(count), GL_UNSIGNED_INT,
                        reinterpret_cast<const void*>(start)); // NOLINT(performance-no-int-to-ptr)
    __indexBuffer.release();
}

template void VertexArrayGL::append(const Vertices<float>&);
template void VertexArrayGL::append(const Vertices<double>&);
template void VertexArrayGL::append(const Vertices<long double>&);

} // namespace vorlen
