#pragma once

#include <string>

namespace vorlen {

/// Where an image came from.
enum ImageFormat {
    NoImageFormat = 0,
    UnknownImageFormat = 1,
    ImgImageFormat = 2,
    TiffImageFormat = 3,
    PngImageFormat = 4,
    JpegImageFormat = 5,
    NrrdImageFormat = 6,
    NiftiImageFormat = 7,
    MrcImageFormat = 8,
    BmpImageFormat = 9,
    Jpeg2000ImageFormat = 10,
    DicomImageFormat = 11,
    SlideImageFormat = 12
};

/// The format's name for messages, "TIFF" say; empty for the first two.
std::string toString(ImageFormat format);

} // namespace vorlen
