#pragma once

#include "progress/progresssubject.h"

#include <string>

typedef struct tiff TIFF;

namespace vorlen {

class Image;
class ImageHeader;
class ImageMosaic;
class ImageSource;

/// Reads images: TIFF files by libtiff, IMG files (raw, 512 by 512 pixels of 8 bits behind 12 bytes), and whatever an
/// image source describes. Reading reports progress row by row and can be cancelled from another thread.
///
/// TIFF: the first picture of the file, 8 bits with 1, 3 or 4 samples or 16 bits with 1, in strips, samples
/// interleaved; JPEG colours are decoded to red, green and blue. Orientation and resolution unit are not looked at: a
/// resolution is taken as pixels per calibration unit.
///
/// Decisions that callers may rely on:
/// - A header that asks for more pixels than the greatest ratio of its compression could draw from a file of this
///   length is refused, before any pixels are allocated. A file that is no ordinary file counts as not readable.
/// - A failed read leaves the image as it was. The rows that a cancelled read did not reach are zero, as is the tail
///   of an image from a short IMG file.
/// - A mosaic whose reading is cancelled ends with notifyCanceled and keeps the tiles read so far.
class ImageReader : virtual public ProgressSubject {
public:
    ~ImageReader() override;

    /// The header alone. Throws FileReadError for a file that cannot be opened, is damaged or is shorter than its
    /// picture, and FileFormatError for one of another format.
    void read(ImageHeader& header, const std::string& filename);
    /// Header and pixels. Throws as for the header, and DepthError for 16 bits with several samples.
    void read(Image& image, const std::string& filename);

    /// As the source's kind has it: ImageSource::read().
    void read(Image& image, const ImageSource& source);
    void read(Image& image, const ImageMosaic& mosaic);

protected:
    bool readImgPixels(Image& image, const std::string& filename);
    void readTiffHeader(ImageHeader& header, TIFF* tiff);
    void readTiffColormap(ImageHeader& header, TIFF* tiff);
    void readTiffPixels(Image& image, TIFF* tiff);
};

} // namespace vorlen
