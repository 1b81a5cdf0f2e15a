#pragma once

#include <cstdint>
#include <memory>

#include "images/files/picturelevel.h"
#include "shapes/boundingbox.h"

namespace vorlen {

class Image;
class TiledSection;

/// The pixels of an image by rectangles, for work on a part of it: those of an image in memory, or those of a section
/// too large for that, read in full size when they are asked for.
class ImageParts {
public:
    /// An image, and where its first pixel lies. It has the rectangle that was asked for, and may have more.
    struct Part {
        std::shared_ptr<const Image> image;
        int left = 0;
        int top = 0;

        /// A box of the whole, in pixels of this part.
        BoundingBox<int> toPart(const BoundingBox<int>& box) const;
    };

    /// Of a section, in pixels, for work that needs some times its memory.
    static constexpr std::int64_t greatestPart = std::int64_t(32) << 20;

    /// The image is seen, not owned.
    explicit ImageParts(const Image& image);
    /// Throws UsageError for a section that has no level yet.
    explicit ImageParts(std::shared_ptr<TiledSection> section, std::int64_t mostPixels = greatestPart);

    int getWidth() const { return __width; }
    int getHeight() const { return __height; }

    /// Whether a part is the whole image, and costs nothing.
    bool isInMemory() const { return __section == nullptr; }

    /// Whether a rectangle of this size can be had.
    bool canRead(int width, int height) const;

    /// Throws RangeError for a rectangle that isn't within the image, SizeError for one that is too large, and the
    /// errors of TiledSection::read().
    Part read(const PixelWindow& window) const;

private:
    const Image* __image = nullptr;
    std::shared_ptr<TiledSection> __section;
    std::int64_t __mostPixels = greatestPart;
    int __width, __height;
};

} // namespace vorlen
