#pragma once

#include "numerics/vector.h"
#include "shapes/boundingbox.h"

#include <vector>

namespace vorlen {

/// Regular lattice of cells over a box. Instantiated for float, double and long double.
template <class T>
class Grid {
public:
    void setBoundingBox(const BoundingBox<T>& boundingBox);
    const BoundingBox<T>& getBoundingBox() const { return __boundingBox; }
    /// Numbers of cells along the axes.
    void setSize(const Vector<int>& size);
    const Vector<int>& getSize() const { return __size; }

    /// Whether the box is valid and the size has a component for each of its axes.
    bool isValid() const;

    /// Width of a cell along each axis. Throws UsageError on a grid that is not valid.
    Vector<T> resolutions() const;
    /// Grows the box about its centre until each width is a whole number of steps of r, and takes these numbers as the
    /// size. Throws ValueError unless r is above 0.
    void adjustToResolution(T r);
    /// For each axis the coordinates of the centres of the cells, ascending. Throws UsageError on a grid that is not
    /// valid.
    void centers(std::vector<Vector<T>>& out) const;

private:
    void __check(const char* where) const;

    BoundingBox<T> __boundingBox;
    Vector<int> __size;
};

} // namespace vorlen
