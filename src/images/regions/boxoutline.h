#pragma once

#include <optional>
#include <utility>

#include "images/rasters/pixelmatrix.h"
#include "shapes/boundingbox.h"
#include "shapes/curve.h"

namespace vorlen {

class Image;
class ImageParts;

/// Outlines of what is darker, or brighter, than a threshold within a box of an image; made once for a box and a
/// smoothing, and then asked for one threshold after the other, fast enough for a live preview.
///
/// Grey levels are smoothed by the mean over a square of 2 * smoothing + 1 rows and columns. The threshold that is
/// proposed is that of Ridler and Calvard (IsodataThresholding) for the means in the box. Outlines run between the
/// pixels, where the means pass the threshold (levelLine()), and end at the box. What is inside of them is not looked
/// at: they have no holes.
///
/// Decisions: of a coloured image the grey is taken, of one with a single colour that; real values are brought to 65536
/// levels between the least and the greatest around the box. Where no side is chosen, it is the one that has less of
/// the box's rim. Without a seed a region counts by its pixels, which weigh the more the nearer they are to the middle
/// of the box, and nothing at its rim: what the user has drawn the box around, not what reaches into it. Pixels that
/// touch by corners alone belong together.
class BoxOutline {
public:
    /// Which side of the threshold is outlined.
    enum class Side { Either, Darker, Brighter };

    /// What is to be outlined.
    struct Choice {
        int threshold = 0; // of the means: what is below it is darker, else brighter
        Side side = Side::Either;
        std::optional<std::pair<int, int>> seed = {}; // column and row of the image: the region there, and its side
        double tolerance = 0;                         // of levelLine(): twice an area, in squared pixels
    };

    /// What there is.
    struct Found {
        Curve<double> outline; // vertices (column, row) of the image; none where there is nothing
        bool darker = true;    // than what surrounds it
        bool touchesBox = false;
    };

    static constexpr int maxSmoothing = 80;

    /// The box is in columns and rows, both ends included. Throws RangeError for a box that does not lie on the image,
    /// and for a smoothing that is not from 0 to maxSmoothing.
    BoxOutline(const Image& image, const BoundingBox<int>& box, int smoothing);
    /// The same, of an image of which only the box and what is around it is read. Throws as ImageParts::read() besides.
    BoxOutline(const ImageParts& image, const BoundingBox<int>& box, int smoothing);

    /// The least and the greatest mean in the box, rounded down.
    int getLeast() const { return __least; }
    int getGreatest() const { return __greatest; }

    int getProposedThreshold() const { return __proposed; }

    /// The threshold at which the region of the seed, a column and a row of the image, stands alone in the box and is
    /// set off most from what surrounds it (StandingRegion); of two dozen from the seed's mean to the least or greatest
    /// one, and the middle of those that are about as good. For what is joined to the rim of the box at the threshold
    /// proposed, such as an organelle beside a membrane as dark as itself. Nothing where the seed is outside of the
    /// box, and where the region is at once at the rim; nor are regions of less than a four hundredth of the box taken,
    /// which are noise.
    std::optional<int> thresholdAlone(const std::pair<int, int>& seed, Side side) const;

    /// The grey value that a threshold stands for.
    double valueOf(int threshold) const;

    /// The outline of the region of the chosen side that the seed is in, or else of the one that counts most. Nothing
    /// where the seed is not on the chosen side, or outside of the box, and where the box has nothing on that side.
    Found find(const Choice& choice) const;

private:
    void search(const Image& image, const BoundingBox<int>& box, int smoothing);
    bool isDarkerInside(int level) const;
    PixelMatrix<int> turnedSums() const;

    PixelMatrix<int> __sums; // in the box
    int __firstColumn = 0, __firstRow = 0;
    int __area = 1; // pixels of a sum
    int __least = 0, __greatest = 0, __proposed = 0;
    double __origin = 0, __step = 1; // of the levels, in grey values
};

} // namespace vorlen
