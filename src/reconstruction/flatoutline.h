#pragma once

#include <vector>

namespace vorlen {

class ModelItem;

/// Appends the vertices of an item in pixels, x and y of one after the other. An item that holds them as plain numbers
/// goes on to do so: as Vertices they take ten times the memory.
void appendCoordinates(const ModelItem& item, std::vector<double>& coordinates);

/// Closed outlines of n places as plain numbers, of which the first two of each place count, so many numbers apart.
namespace FlatOutline {

/// Twice the signed area by the shoelace formula, relative to the first place: far from the origin the products would
/// cancel.
double twiceArea(const double* places, int n, int stride);

/// Whether an outline of this area, which is not 0, goes once around its centroid, always forward: it can't cross
/// itself then, and encloses that area.
bool isStar(const double* places, int n, int stride, double twiceArea);

/// What it encloses by even-odd rule, however it crosses itself.
double enclosedArea(const double* places, int n, int stride);

/// What the area of an outline may be by rounding alone, where it should be 0: 1e-13 of its extent times how far it
/// lies from the origin.
double areaNoise(const double* places, int n, int stride);

} // namespace FlatOutline

} // namespace vorlen
