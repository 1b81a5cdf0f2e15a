#pragma once

#include "images/filters/interpolationmode.h"
#include "images/rasters/image.h"
#include "images/rasters/imageprocessing.h"
#include "progress/progressproxy.h"

namespace vorlen {

/// Resizes an image, either to a given size or to the largest size that fits into a box and keeps the aspect.
///
/// The nearest mode is the only one for images: each pixel of the result is a whole pixel of the source, so that a
/// label or an index is never mixed with its neighbour. With the linear mode apply() leaves its target as it is.
///
/// A box in which the shorter side of an image would round to 0 gives that side 1 pixel.
class ResizeXForm : public ImageProcessing, public ProgressProxy {
public:
    explicit ResizeXForm(InterpolationMode interpolationMode = NearestInterpolationMode);

    /// With true, the size is a box into which the image is fitted with its aspect kept.
    void setAspectFriendly(bool aspectFriendly);
    bool isAspectFriendly() const;

    /// Size of the result, or of the box, in pixels; 0 by 0 at first. Throws SizeError on a negative size.
    void setSize(int width, int height);

    /// Turns the size of a source into that of its result.
    void convertSize(int& width, int& height) const;

    /// In place.
    void apply(Image& image) const override;

    /// The result takes the depth of the source, and its colormap when it is indexed. A source that has the size
    /// already is copied. target and source may be one object.
    void apply(Image& target, const Image& source) const override;

    /// Half the width and height, rounded down: each channel of a pixel is the truncated mean of a block of 2 x 2.
    /// An indexed image whose colormap is not the identity comes out with depth 24. Depth 16 is left alone.
    /// Monitors of this object hear the progress of each channel.
    void halve(Image& target, const Image& source);

private:
    void __nearestResize(Image& target, const Image& source, int width, int height) const;

    InterpolationMode __interpolationMode;
    bool __aspectFriendly = false;
    int __width = 0;
    int __height = 0;
};

} // namespace vorlen
