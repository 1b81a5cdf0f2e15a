#pragma once

#include "images/rasters/pixelmatrix.h"

namespace vorlen {

template <class T>
class Curve;

/// The closed line, between the pixels, along which values pass a level: of the region of values below it that holds
/// the start, the border that the start lies at.
///
/// Vertices are (column, row), whole numbers being the middles of pixels. Each lies between a pixel of the region and a
/// neighbour in its row or column that is not, where the straight line between both values reaches the level; what
/// touches by corners alone belongs together, and the last pixel of the image, where the region goes on to it, is where
/// the line ends. So a blurred edge is met to a small fraction of a pixel, and an edge of two values, half between
/// them, where the pixels meet. A region of one pixel gives its middle alone.
///
/// Vertices go that span, with the last one kept and all that went since, at most the tolerance, twice an area in
/// squared pixels; at 0 those in line with their neighbours.
///
/// Throws RangeError for a start outside the matrix, and ValueError when it is not below the level or has no neighbour
/// of eight that is not.
Curve<double> levelLine(const PixelMatrix<int>& values, int row, int column, double level, double tolerance);

} // namespace vorlen
