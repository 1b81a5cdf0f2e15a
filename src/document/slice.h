#pragma once

#include <memory>
#include <string>

#include "document/unreadtext.h"
#include "shapes/boundingbox.h"
#include "values/imagesource.h"
#include "values/pixelcalibration.h"

namespace vorlen {

class Image;

/// An image with a name, a note and a calibration. The pixels stay in their file; the slice holds where they are.
///
/// A slice is displayed on a grid of square pixels: an image whose pixels are higher than wide loses columns, one
/// whose pixels are wider than high loses rows. An aspect ratio that is not above 0 counts as 1.
class Slice : public UnreadText {
public:
    Slice();
    Slice(const Slice&) = delete;
    Slice& operator=(const Slice&) = delete;
    virtual ~Slice();

    void setName(const std::string& name);
    const std::string& getName() const { return __name; }

    void setAnnotation(const std::string& annotation);
    const std::string& getAnnotation() const { return __annotation; }

    /// Stores a clone of the source.
    void setImageSource(const ImageSource& source);

    /// Puts the source in the place of the slice's own, which comes back; each may be null.
    void exchangeImageSource(std::unique_ptr<ImageSource>& source) noexcept { __imageSource.swap(source); }

    /// Throws ProgramError for a slice without a source.
    const ImageSource& getImageSource() const;

    /// True without a source, or with one that names no image.
    bool isEmpty() const;

    /// True with a source, also with one that names no image, such as the placeholder of a lost one.
    bool hasImageSource() const { return __imageSource != nullptr; }

    /// Height and width of the image as the file told them that the slice was read from; 0 for what it did not tell.
    struct StatedSize {
        int height = 0;
        int width = 0;
    };
    void setStatedSize(const StatedSize& size) { __statedSize = size; }
    const StatedSize& getStatedSize() const { return __statedSize; }

    void setPixelCalibration(const PixelCalibration& calibration);
    PixelCalibration& getPixelCalibration() { return __pixelCalibration; }
    const PixelCalibration& getPixelCalibration() const { return __pixelCalibration; }

    /// Size of the displayed grid in pixels. Throw ProgramError without a source.
    int width() const;
    int height() const;

    /// From (0, 0) to (width - 1, height - 1).
    BoundingBox<int> boundingBox() const;

    /// Shrinks one side of the box so that it has the slice's proportions. A slice without pixels leaves it.
    void sizeForSize(unsigned int& w, unsigned int& h) const;

    /// Reads the image and brings it to the displayed grid. Throws ProgramError without a source, ValueError when the
    /// aspect ratio leaves no pixels, and what ImageReader throws.
    void load(Image& image) const;

private:
    std::string __name = "<slice>";
    std::string __annotation;
    std::unique_ptr<ImageSource> __imageSource;
    PixelCalibration __pixelCalibration;
    StatedSize __statedSize;
};

} // namespace vorlen
