#pragma once

#include "editing/operations/outlineshape.h"
#include "python/arrays.h"

namespace vorlen {

/// The vertices of an item: N x 2, column and row in pixels.
pybind11::array_t<double> pixelsOf(const ItemVertices& vertices);

/// N x 2 numbers as points of a slice. Throws vorlen.Error for another shape, for what is no number, and for what is
/// far beyond any image.
Outline outlineOf(const Doubles& points);

/// The same as vertices of an item, each point by itself.
ItemVertices itemVerticesOf(const Doubles& points);

} // namespace vorlen
