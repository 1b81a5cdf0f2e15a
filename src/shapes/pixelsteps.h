#pragma once

#include <vector>

#include "shapes/vertices.h"

namespace vorlen {

/// An outline without the steps of the pixel grid.
///
/// An outline that goes from pixel to pixel is longer than what it stands for, by 5 % on average however fine the
/// pixels are, since it turns by 45 degrees at a time, and by 27 % where it turns by 90. Here each stretch of it that
/// is a digital straight segment gives way to a line through its middle, and the lines meet where the segments do. The
/// lengths that are left converge to the true ones as the pixels become finer (Kovalevsky, Fuchs: Theoretical and
/// experimental analysis of the accuracy of perimeter estimates, 1992; compared with others by Coeurjolly, Klette: A
/// comparative evaluation of length estimators of digital curves, 2004). Segments are taken as long as they can be, one
/// after the other.
///
/// A stretch is a digital straight segment when it goes on in one direction and a strip less than a pixel high, along
/// the axis across, holds all of it (O'Rourke: An on-line algorithm for fitting straight lines between data ranges,
/// 1981); of steps along the axes alone, when the same holds of the strip sheared by a quarter of a turn's half
/// (Reveilles 1991: standard lines).
///
/// Only edges along the axes and the diagonals between places of whole or half pixels are steps. All other edges stay
/// as they are, and so do corners of more than a pixel: a square keeps its four sides, and a hand's outline all of its
/// vertices. An outline of which fewer than three vertices would stay keeps all, a line its ends.
///
/// Vertices are in pixels, in the plane of axes 0 and 1; those of the result may share their store with the outline's.
/// n log n for n vertices.
Vertices<double> withoutPixelSteps(const Vertices<double>& vertices, bool closed);

/// The same for n vertices, x and y of one after the other; the result, in the same form, goes to out. False, and out
/// unchanged, when there are no steps to remove: told without memory where no two steps follow each other.
bool removePixelSteps(const double* coordinates, int n, bool closed, std::vector<double>& out);

} // namespace vorlen
