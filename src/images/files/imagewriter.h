#pragma once

#include <string>

typedef struct tiff TIFF;

namespace vorlen {

class Image;
class ImageHeader;

/// Writes images as TIFF files, uncompressed, whatever the suffix of the file's name.
///
/// A 16-bit image is written as one sample of 16 bits, so that it reads back; 32 bits are written with the fourth
/// sample declared as one without meaning. The pixel calibration is not written. The file appears under its name only
/// when it is complete and on the disk: a failed write leaves an older file of that name as it was.
class ImageWriter {
public:
    /// Throws FileWriteError if the file exists and overwrite is false, if it cannot be written, and for an image
    /// without pixels.
    void write(const Image& image, const std::string& filename, bool overwrite = false) const;

protected:
    void writeTIFF(const Image& image, TIFF* tiff) const;
    void writeTIFFHeader(const ImageHeader& header, TIFF* tiff) const;
    void writeTIFFPixels(const Image& image, TIFF* tiff) const;
    void writeTIFFColormap(const ImageHeader& header, TIFF* tiff) const;
};

} // namespace vorlen
