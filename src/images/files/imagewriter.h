#pragma once

#include <string>

typedef struct tiff TIFF;

namespace vorlen {

class Image;
class ImageHeader;

/// Writes images as TIFF files, whatever the suffix of the file's name; as BigTIFF where the pixels fill 3.5 GB.
///
/// A 16-bit image is written as one sample of 16 bits, and a real one of 32, so that they read back, with their range;
/// 32 bits of colours are written with the fourth sample declared as one without meaning. A pixel size that has been
/// set is written as a resolution by the centimeter. The file appears under its name only when it is complete and on
/// the disk: a failed write leaves an older file of that name as it was.
class ImageWriter {
public:
    enum class Compression { None, Deflate, Zstd };

    /// None at first. Without loss, all of them; Zstd is read by newer programs only.
    void setCompression(Compression compression) { __compression = compression; }

    /// Throws FileWriteError if the file exists and overwrite is false, if it cannot be written, and for an image
    /// without pixels.
    void write(const Image& image, const std::string& filename, bool overwrite = false) const;

protected:
    void writeTIFF(const Image& image, TIFF* tiff) const;
    void writeTIFFHeader(const ImageHeader& header, TIFF* tiff) const;
    void writeTIFFPixels(const Image& image, TIFF* tiff) const;
    void writeTIFFColormap(const ImageHeader& header, TIFF* tiff) const;
    void writeTIFFPixelSize(const ImageHeader& header, TIFF* tiff) const;
    void writeTIFFRange(const Image& image, TIFF* tiff) const;

private:
    Compression __compression = Compression::None;
};

} // namespace vorlen
