#pragma once

#include "images/files/picturelevel.h"
#include "images/rasters/pixelmatrix.h"
#include "shapes/boundingbox.h"
#include "shapes/curve.h"

namespace vorlen {

class Image;
class ImageParts;

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
///
/// Of a section too large for memory a part around the box is cut, at first of three times its width and height, and a
/// larger one as long as the outline comes to a side behind which the section goes on and there is room for more: then
/// it is cut() there.
class RegionOutline {
public:
    /// The box is in columns and rows, both ends included. The mean is over 2 * smoothing + 1 rows and columns. Throws
    /// RangeError for a box that does not lie on the image.
    RegionOutline(const Image& image, const BoundingBox<int>& box, int smoothing);
    /// The same, of an image that may be too large for memory. Throws as ImageParts::read() besides.
    RegionOutline(const ImageParts& image, const BoundingBox<int>& box, int smoothing);

    /// Whether there is an outline in the middle row of the box.
    bool isFound() const { return __column >= 0; }

    int getThreshold() const { return __threshold; }

    /// Whether the outline goes on where no more could be read.
    bool isCut() const { return __cut; }

    /// Vertices (column, row) of the outline that is found, rounded to thousandths (subpixel()) and decimated on the
    /// way as the tolerance of levelLine() says.
    Curve<double> follow(int decimation) const;

private:
    void search(const Image& image, const BoundingBox<int>& box, int smoothing);
    bool comesToEnd(const ImageParts& image, const PixelWindow& part, int smoothing) const;

    PixelMatrix<int> __sums;
    double __level = 0; // of the sums
    int __threshold = 0;
    int __row = 0;
    int __column = -1;
    int __left = 0, __top = 0; // of the part, in the image
    bool __cut = false;
};

} // namespace vorlen
