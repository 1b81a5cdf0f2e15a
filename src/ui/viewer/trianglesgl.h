#pragma once

#include <cstddef>
#include <vector>

#include "ui/viewer/shapepainterattributesgl.h"
#include "ui/viewer/vertexarraygl.h"

namespace vorlen {

/// Triangles of several surfaces in one, each vertex with its colour, so that they can be drawn in any order.
struct TrianglesGL {
    VertexArrayGL array;                         ///< with normals and colours
    std::vector<unsigned short> materials;       ///< of each triangle: an index into the attributes
    std::vector<ShapePainterAttributesGL> looks; ///< what else a surface has, as its shininess

    void clear();

    /// Adds the lit triangles of an array. False, and nothing added, when they have no normals, and when there are too
    /// many.
    bool add(const VertexArrayGL& surface, const ShapePainterAttributesGL& attributes);

    std::size_t getNumTriangles() const { return array.indexes.size() / 3; }
};

} // namespace vorlen
