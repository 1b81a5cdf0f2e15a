#include "viewer/vertexarraygl.h"

#include <algorithm>

namespace {

void drawIndexed(GLenum primitive, int size, const std::vector<unsigned int>& indexes) {
    // The range spares the driver a walk over the indexes.
    if (!indexes.empty())
        glDrawRangeElements(primitive, 0, GLuint(size - 1), GLsizei(indexes.size()), GL_UNSIGNED_INT, indexes.data());
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
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, positions.data());
    glDrawArrays(primitive, first, count);
    glDisableClientState(GL_VERTEX_ARRAY);
}

void VertexArrayGL::drawPlain(GLenum primitive, const std::vector<unsigned int>& indexes) const {
    const Unlit unlit;
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, positions.data());
    drawIndexed(primitive, getSize(), indexes);
    glDisableClientState(GL_VERTEX_ARRAY);
}

void VertexArrayGL::drawLit(GLenum primitive, const std::vector<unsigned int>& indexes) const {
    if (normals.size() != positions.size()) {
        drawPlain(primitive, indexes);
        return;
    }
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, positions.data());
    glEnableClientState(GL_NORMAL_ARRAY);
    glNormalPointer(GL_FLOAT, 0, normals.data());
    if (colors.size() / 4 == normals.size() / 3 && !colors.empty()) {
        glEnable(GL_COLOR_MATERIAL);
        glEnableClientState(GL_COLOR_ARRAY);
        glColorPointer(4, GL_UNSIGNED_BYTE, 0, colors.data());
    }
    drawIndexed(primitive, getSize(), indexes);
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
}

template void VertexArrayGL::append(const Vertices<float>&);
template void VertexArrayGL::append(const Vertices<double>&);
template void VertexArrayGL::append(const Vertices<long double>&);
