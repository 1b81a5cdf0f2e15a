#pragma once

#include "images/filters/neighbourhoodfilter.h"
#include "images/rasters/imageprocessing.h"

namespace vorlen {

/// Replaces each pixel of an image by the mean over its square window of side w = 2h + 1, in whole numbers, truncated.
///
/// The sums run along the rows and then down the columns. In the first and last h columns, and rows, of the image the
/// pixel itself stands for all of the window along that axis; so it does throughout along an axis shorter than w. The
/// channels of colour images are filtered each for itself. An indexed gray image becomes a plain one of 8 bits before,
/// any other indexed image one of 24 bits, and an image without pixels is left alone with a warning on the standard
/// error stream. With a half size below 1 nothing happens.
///
/// The cost does not depend on h, but for its logarithm along the rows. Sums are kept as narrow as the window allows
/// and as wide as it needs, so that no window overflows.
class MeanFilter : public NeighbourhoodFilter, public ImageProcessing {
public:
    /// Whether 8-bit images are filtered with sums of the window's rows only, which is the default, or with sums of all
    /// rows at once, pixel by pixel. The result is the same.
    void setOptimization(bool optimization) { __optimization = optimization; }
    bool optimization() const { return __optimization; }

    void apply(Image& image) const override;
    void apply(Image& target, const Image& source) const override;

private:
    void optMeanFilter8(Image& image) const;
    void meanFilter8(Image& image) const;
    void meanFilter16(Image& image) const;
    void meanFilter24(Image& image) const;
    void meanFilter32(Image& image) const;

    bool __optimization = true;
};

} // namespace vorlen
