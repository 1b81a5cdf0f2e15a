#include "images/rasters/imageformat.h"

namespace vorlen {

std::string toString(ImageFormat format) {
    switch (format) {
    case ImgImageFormat:
        return "IMG";
    case TiffImageFormat:
        return "TIFF";
    case PngImageFormat:
        return "PNG";
    case JpegImageFormat:
        return "JPEG";
    case NrrdImageFormat:
        return "NRRD";
    case NiftiImageFormat:
        return "NIfTI";
    case MrcImageFormat:
        return "MRC";
    case BmpImageFormat:
        return "BMP";
    case Jpeg2000ImageFormat:
        return "JPEG 2000";
    case DicomImageFormat:
        return "DICOM";
    case SlideImageFormat:
        return "whole slide";
    case NoImageFormat:
    case UnknownImageFormat:
        break;
    }
    return "";
}

} // namespace vorlen
