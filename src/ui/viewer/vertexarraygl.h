#pragma once

#include "shapes/vertices.h"
#include "ui/viewer/buffergl.h"

#include <GL/gl.h>

#include <vector>

namespace vorlen {

/// Vertices as OpenGL takes them in one call: coordinates in space 3, and with them normals and colours where there are
/// any, and what joins them. What lies here was prepared when its shape changed; the first draw after that hands it
/// over to the graphics, and further ones only name it.
class VertexArrayGL {
public:
    std::vector<float> positions;      ///< 3 for each vertex
    std::vector<float> normals;        ///< 3 for each vertex, or none
    std::vector<unsigned char> colors; ///< red, green, blue, alpha for each vertex, or none
    std::vector<unsigned int> indexes; ///< the corners of triangles or the ends of lines

    void clear();
    /// To be called after changes, unless clear() came before them.
    void invalidate();
    /// When only they have changed.
    void invalidateIndexes() { __indexBuffer.invalidate(); }
    int getSize() const { return int(positions.size() / 3); }

    /// Adds the positions; coordinates that a vertex lacks are 0, those beyond the third are left out.
    template <class T>
    void append(const Vertices<T>& vertices);

    /// Vertices first to first + count - 1 in order, unlit, in the current colour.
    void drawPlain(GLenum primitive, int first, int count) const;
    /// The vertices of the indexes, unlit, in the current colour.
    void drawPlain(GLenum primitive) const;
    /// The vertices of the indexes with their normals and, where there are any, their colours. Without normals they are
    /// drawn plain.
    void drawLit(GLenum primitive) const;
    /// The same of a run of the indexes.
    void drawLit(GLenum primitive, std::size_t first, std::size_t count) const;

private:
    void __setPositions() const;
    void __drawIndexed(GLenum primitive, std::size_t first, std::size_t count) const;

    mutable BufferGL __positionBuffer{QOpenGLBuffer::VertexBuffer};
    mutable BufferGL __normalBuffer{QOpenGLBuffer::VertexBuffer};
    mutable BufferGL __colorBuffer{QOpenGLBuffer::VertexBuffer};
    mutable BufferGL __indexBuffer{QOpenGLBuffer::IndexBuffer};
};

} // namespace vorlen
