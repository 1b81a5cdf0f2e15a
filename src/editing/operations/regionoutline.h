#pragma once

#include "images/rasters/pixelmatrix.h"
#include "shapes/boundingbox.h"
#include "shapes/curve.h"

namespace vorlen {

class Image;

/// Outline of a structure that is darker than what surrounds it, found from a box that the user marked around its edge.
///
/// The grey levels in the box, smoothed by the mean over a square, give the threshold (IsodataThresholding). The whole
/// image is cut at it, and the outline is the border of what lies below, as it is met first, from left to right, in the
/// middle row of the box. It may leave the box. It runs between the pixels, where the means pass the threshold
/// (levelLine()).
///
/// Decisions: levels of 16 bits are told apart by a histogram of as many bins, where 256 would lump together all but
/// the darkest, and real values are brought to 65536 levels between the least and the greatest first. The means are
/// rounded down, and outside of the box only compared with the threshold, not formed.
class RegionOutline {
public:
    /// The box is in columns and rows, both ends included. The mean is over 2 * smoothing + 1 rows and columns. Throws
    /// RangeError for a box that does not lie on the image.
    RegionOutline(const Image& image, const BoundingBox<int>& box, int smoothing);

    /// Whether there is an outline in the middle row of the box.
    bool isFound() const { return __column >= 0; }

    int getThreshold() const { return __threshold; }

    /// Vertices (column, row) of the outline that is found, rounded to thousandths (subpixel()) and decimated on the
    /// way as the tolerance of levelLine() says.
    Curve<double> follow(int decimation) const;

private:
    PixelMatrix<int> __sums;
    double __level = 0; // of the sums
    int __threshold = 0;
    int __row = 0;
    int __column = -1;
};

} // namespace vorlen
