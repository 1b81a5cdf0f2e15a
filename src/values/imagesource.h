#pragma once

#include "numerics/vector.h"

namespace vorlen {

class Colormap;

/// Where an image comes from, and what it will be like, without its pixels.
class ImageSource {
public:
    virtual ~ImageSource();

    /// A new source of the same kind with the same contents; the caller owns it.
    virtual ImageSource* clone() const = 0;

    /// Number of the kind of source.
    virtual int getType() const = 0;

    /// False as long as the source names no image.
    virtual bool isDefined() const = 0;

    /// Height in pixels.
    virtual int getSize1() const = 0;

    /// Width in pixels.
    virtual int getSize2() const = 0;

    /// Bits per pixel.
    virtual int getDepth() const = 0;

    /// Null for an image without a colormap; owned by the source.
    virtual const Colormap* getColormap() const = 0;

    /// Height, then width.
    Vector<int> getSize() const;

protected:
    ImageSource() = default;
    ImageSource(const ImageSource&) = default;
    ImageSource& operator=(const ImageSource&) = default;
};

} // namespace vorlen
