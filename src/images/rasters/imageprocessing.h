#pragma once

namespace vorlen {

class Image;

/// Base of the operations on an Image: in place, or from a source into a result.
class ImageProcessing {
public:
    virtual ~ImageProcessing();
    virtual void apply(Image& image) const = 0;
    virtual void apply(Image& result, const Image& source) const = 0;
};

} // namespace vorlen
