#pragma once

#include <cmath>
#include <type_traits>
#include <utility>
#include <vector>

#include "document/modelitem.h"
#include "shapes/vertices.h"

namespace vorlen {

/// A point of a slice's image: column and row, in pixels, with the centre of the first pixel at (0, 0).
struct OutlinePoint {
    double x = 0;
    double y = 0;
};

using Outline = std::vector<OutlinePoint>;

/// What the vertices of an item are held in, and one of them.
using ItemVertices = std::remove_cvref_t<decltype(std::declval<const ModelItem&>().getVertices())>;
using ItemVertex = std::remove_cvref_t<decltype(std::declval<const ItemVertices&>()[0])>;
using ItemCoordinate = std::remove_cvref_t<decltype(std::declval<const ItemVertex&>()[0])>;

/// The nearest coordinate that an item can have.
inline ItemCoordinate itemCoordinate(double coordinate) {
    if constexpr (std::is_integral_v<ItemCoordinate>)
        return ItemCoordinate(std::lround(coordinate));
    else
        return ItemCoordinate(coordinate);
}

inline ItemVertex itemVertex(const OutlinePoint& point) {
    ItemVertex vertex(2);
    vertex[0] = itemCoordinate(point.x);
    vertex[1] = itemCoordinate(point.y);
    return vertex;
}

inline Outline outlineOf(const ItemVertices& vertices) {
    Outline outline;
    outline.reserve(static_cast<std::size_t>(vertices.getNumVertices()));
    for (int i = 0; i < vertices.getNumVertices(); ++i)
        outline.push_back({double(vertices[i][0]), double(vertices[i][1])});
    return outline;
}

/// Without vertices that come to lie where the one before them does; of a closed outline the last is compared with the
/// first.
inline ItemVertices verticesOf(const Outline& outline, bool closed) {
    ItemVertices vertices(2, 0, 0, 64);
    for (const OutlinePoint& point : outline) {
        const ItemVertex vertex = itemVertex(point);
        const int n = vertices.getNumVertices();
        if (n == 0 || vertices[n - 1] != vertex)
            vertices.append(vertex);
    }
    while (closed && vertices.getNumVertices() > 1 && vertices[0] == vertices[vertices.getNumVertices() - 1])
        vertices.remove(vertices.getNumVertices() - 1);
    return vertices;
}

} // namespace vorlen
