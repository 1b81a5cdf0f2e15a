#pragma once

#include "ui/viewer/buffergl.h"
#include "ui/viewer/vertexsymbolgl.h"

#include <cstddef>
#include <vector>

namespace vorlen {

/// The body of a symbol of size 1 about the origin: triangles with outward normals, counter-clockwise seen from
/// outside. Vertices are not shared between the faces of a flat body.
struct SymbolMeshGL {
    std::vector<float> positions; ///< 3 for each vertex
    std::vector<float> normals;   ///< 3 for each vertex
    std::vector<unsigned int> indexes;

    /// Empty for the dot, which has no body.
    static SymbolMeshGL of(VertexSymbolGL symbol);
};

/// Symbols at many places, prepared to be drawn in few calls.
///
/// The bodies are written out in world coordinates, in blocks that share their indexes and normals. Above
/// a limit the coordinates of a block are worked out when it is drawn, so that millions of symbols do not
/// fill the memory.
class SymbolArrayGL {
public:
    static constexpr int blockSize = 1024; ///< symbols in a block
    static constexpr std::size_t maxPreparedVertices = std::size_t(1) << 23;

    void clear();

    /// Symbols at the centres, 3 coordinates each. sizes has one entry for all, or one for each centre. limit is the
    /// number of vertices up to which the bodies are written out beforehand.
    void prepare(VertexSymbolGL symbol, std::vector<float> centers, std::vector<float> sizes,
                 std::size_t limit = maxPreparedVertices);

    int getSize() const { return int(__centers.size() / 3); }

    /// Draws with the current colour and back faces left out.
    void glDraw() const;

private:
    void __write(int first, int count, float* out) const;
    void __drawBlock(const void* positions, const void* indexes, int count) const;

    SymbolMeshGL __mesh;
    std::vector<float> __centers;
    std::vector<float> __sizes;
    std::vector<float> __positions; ///< of all symbols, or none
    std::vector<float> __normals;   ///< of a block
    std::vector<unsigned int> __indexes;
    mutable BufferGL __positionBuffer{QOpenGLBuffer::VertexBuffer};
    mutable BufferGL __normalBuffer{QOpenGLBuffer::VertexBuffer};
    mutable BufferGL __indexBuffer{QOpenGLBuffer::IndexBuffer};
};

} // namespace vorlen
