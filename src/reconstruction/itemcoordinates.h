#pragma once

#include <vector>

namespace vorlen {

class ModelItem;

/// Appends the vertices of an item in pixels, x and y of one after the other. An item that holds them as plain numbers
/// goes on to do so: as Vertices they take ten times the memory.
void appendCoordinates(const ModelItem& item, std::vector<double>& coordinates);

} // namespace vorlen
