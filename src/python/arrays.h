#pragma once

#include <memory>
#include <vector>

#include <pybind11/numpy.h>

#include "shapes/vertices.h"

namespace vorlen {

class Image;
template <class T>
class Shape;

/// An array of doubles as functions take it: anything that NumPy makes one of.
using Doubles = pybind11::array_t<double, pybind11::array::c_style | pybind11::array::forcecast>;

/// Numbers in an array that takes them over, without a copy.
template <class T>
pybind11::array_t<T> arrayOf(std::vector<T> values, std::vector<pybind11::ssize_t> shape) {
    auto kept = std::make_unique<std::vector<T>>(std::move(values));
    T* const first = kept->data();
    const pybind11::capsule owner(kept.get(), [](void* data) { delete static_cast<std::vector<T>*>(data); });
    kept.release();
    return pybind11::array_t<T>(std::move(shape), first, owner);
}

/// Numbers that belong to owner, seen without a copy; they can't be written, and keep the owner alive.
template <class T>
pybind11::array_t<T> viewOf(const std::vector<T>& values, std::vector<pybind11::ssize_t> shape,
                            const pybind11::handle& owner) {
    pybind11::array_t<T> view(std::move(shape), values.data(), owner);
    view.attr("setflags")(pybind11::arg("write") = false);
    return view;
}

/// Throws vorlen.Error unless the points are N x space numbers, none of them farther than this.
void checkPoints(const Doubles& points, pybind11::ssize_t space, double farthest);

/// The vertices of a shape in their order: M x 3, or levels x width x 3 of a mesh of rows and columns.
pybind11::array_t<double> coordinatesOf(const Shape<float>& shape);

/// M x 3 numbers as points of space. Throws as checkPoints().
Vertices<float> spacePointsOf(const Doubles& points);

/// The pixels: rows x columns of uint8, uint16 or float32, or rows x columns x 3 or 4 of uint8 for colours; palettes
/// are looked up. The array takes over the memory of the image, which is then empty.
pybind11::array imageArray(Image& image);

} // namespace vorlen
