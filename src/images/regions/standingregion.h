#pragma once

#include <cstddef>
#include <vector>

#include "images/rasters/pixelmatrix.h"

namespace vorlen {

/// The region of the values below a level that has a seed, which lies on the values; empty where the seed is not below
/// the level. Pixels that touch by corners alone belong together.
class StandingRegion {
public:
    StandingRegion(const PixelMatrix<int>& values, int seedRow, int seedColumn, double level);

    int numPixels() const { return __numPixels; }

    /// Whether it goes on to the rim of the values.
    bool atRim() const { return __atRim; }

    /// How far it is set off from what surrounds it: the mean difference of the values a few pixels out of, and into
    /// it, over all places where its border runs between two pixels. What it encloses is not looked at. 0 where it is
    /// empty or goes on to the rim.
    double contrast() const;

private:
    enum Place : char { Unknown, Inside, Outside };

    std::size_t indexOf(int row, int column) const;
    Place& placeAt(int row, int column) { return __places[indexOf(row, column)]; }
    void grow(int seedRow, int seedColumn, double level);
    std::vector<Place> withOutside() const;

    const PixelMatrix<int>& __values;
    int __rows, __columns;
    std::vector<Place> __places;
    int __numPixels = 0;
    bool __atRim = false;
};

} // namespace vorlen
