#include "python/outlinearrays.h"

namespace py = pybind11;

namespace vorlen {

py::array_t<double> pixelsOf(const ItemVertices& vertices) {
    const int n = vertices.getNumVertices();
    py::array_t<double> array({py::ssize_t(n), py::ssize_t(2)});
    double* out = array.mutable_data();
    for (int i = 0; i < n; ++i)
        for (const int axis : {0, 1})
            *out++ = double(vertices[i][axis]);
    return array;
}

Outline outlineOf(const Doubles& points) {
    checkPoints(points, 2, 1e9);
    Outline outline;
    outline.reserve(std::size_t(points.shape(0)));
    for (py::ssize_t i = 0; i < points.shape(0); ++i)
        outline.push_back({points.at(i, 0), points.at(i, 1)});
    return outline;
}

ItemVertices itemVerticesOf(const Doubles& points) {
    ItemVertices vertices(2, 0, 0, 64);
    for (const OutlinePoint& point : outlineOf(points))
        vertices.append(itemVertex(point));
    return vertices;
}

} // namespace vorlen
