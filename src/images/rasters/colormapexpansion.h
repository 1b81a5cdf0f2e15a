#pragma once

#include "images/rasters/imageprocessing.h"

namespace vorlen {

/// Turns an indexed image into a plain one by way of its colormap.
///
/// Acts only on indexed images, and with target depth 8 only on those whose colormap is gray; otherwise image and
/// result are left alone. The fourth byte of a result of 32 bits is not written.
class ColormapExpansion : public ImageProcessing {
public:
    /// 8, 24 or 32 bits; 24 at first. Throws DepthError for any other depth.
    void setTargetDepth(unsigned int depth);
    unsigned int getTargetDepth() const;

    /// Makes an indexed image plain: 8 bits for gray colours, else 24 bits. Leaves other images alone.
    static void removeColormap(Image& image);

    void apply(Image& image) const override;
    void apply(Image& result, const Image& source) const override;

private:
    void expand(Image& result, const Image& source) const;

    unsigned int __targetDepth = 24;
};

} // namespace vorlen
