#pragma once

#include "images/rasters/imageprocessing.h"

namespace vorlen {

/// Conversion of an image to the state that its three public fields describe.
///
/// The one conversion there is turns an indexed image gray, and plain if so wanted. Any other request writes a line
/// to the standard error stream and leaves the image as it is; an image that has the state already is left alone.
class ImageConversion : public ImageProcessing {
public:
    bool targetGrayscale = false;
    bool targetIndexed = false;
    int targetDepth = 8;

    void apply(Image& image) const override;
    void apply(Image& result, const Image& source) const override;

private:
    static void indexedColor_to_indexedGray(Image& image);
    static void indexedGray_to_plainGray(Image& image);
};

} // namespace vorlen
