#include "python/arrays.h"

#include <cmath>
#include <cstdint>

#include "images/rasters/image.h"
#include "python/errors.h"
#include "shapes/curvestack.h"
#include "shapes/quadmesh.h"
#include "shapes/vertexiterator.h"

namespace py = pybind11;

namespace vorlen {

namespace {

/// The array of the image's bytes, taken as of this type.
template <class T>
py::array wrapped(std::unique_ptr<Image> image, std::vector<py::ssize_t> shape) {
    T* const first = reinterpret_cast<T*>(image->getData());
    const py::capsule owner(image.get(), [](void* kept) { delete static_cast<Image*>(kept); });
    image.release();
    return py::array_t<T>(std::move(shape), first, owner);
}

} // namespace

void checkPoints(const Doubles& points, py::ssize_t space, double farthest) {
    if (points.ndim() != 2 || points.shape(1) != space)
        fail("Points are an array of N x " + std::to_string(space) + " numbers");
    if (points.shape(0) > 100'000'000)
        fail("There are more than a hundred million points");
    const double* const first = points.data();
    for (py::ssize_t i = 0; i < points.size(); ++i)
        if (!(std::abs(first[i]) <= farthest))
            fail("A point has a coordinate that is no number, or far beyond any place");
}

py::array_t<double> coordinatesOf(const Shape<float>& shape) {
    std::vector<double> coordinates;
    coordinates.reserve(3 * std::size_t(shape.getNumVertices()));
    for (ConstVertexIterator<float> it(shape); it.current(); ++it)
        coordinates.insert(coordinates.end(), it.current()->data(), it.current()->data() + 3);
    std::vector<py::ssize_t> sizes = {py::ssize_t(coordinates.size() / 3), 3};
    if (const auto* mesh = dynamic_cast<const QuadMesh<float>*>(&shape))
        sizes = {mesh->getHeight(), mesh->getWidth(), 3};
    return arrayOf(std::move(coordinates), std::move(sizes));
}

Vertices<float> spacePointsOf(const Doubles& points) {
    checkPoints(points, 3, 1e30);
    const int n = int(points.shape(0));
    Vertices<float> vertices(3, n, n, 1);
    for (int i = 0; i < n; ++i) {
        Vector<float> vertex(3);
        for (int axis = 0; axis < 3; ++axis)
            vertex[axis] = float(points.at(i, axis));
        vertices[i] = vertex;
    }
    return vertices;
}

py::array imageArray(Image& image) {
    if (image.isIndexed())
        image.make24bits();
    const py::ssize_t rows = image.getHeight(), columns = image.getWidth();
    if (image.getData() == nullptr)
        return py::array_t<std::uint8_t>(std::vector<py::ssize_t>{0, 0});
    auto kept = std::make_unique<Image>();
    kept->swap(image);
    if (kept->isReal())
        return wrapped<float>(std::move(kept), {rows, columns});
    if (kept->getDepth() == 16)
        return wrapped<std::uint16_t>(std::move(kept), {rows, columns});
    const py::ssize_t samples = kept->bytesPerPixel();
    if (samples == 1)
        return wrapped<std::uint8_t>(std::move(kept), {rows, columns});
    return wrapped<std::uint8_t>(std::move(kept), {rows, columns, samples});
}

} // namespace vorlen
