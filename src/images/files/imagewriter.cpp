#include "images/files/imagewriter.h"

#include "files/fileinfo.h"
#include "files/safefile.h"
#include "images/files/imagereader.h"
#include "images/files/pixelstatistics.h"
#include "images/files/tifffile.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace vorlen {

namespace {

const char* const WRITE = "void ImageWriter::write(...)";

// The offsets of classic TIFF end at 4 GB, and a picture that does not compress grows a little.
constexpr std::size_t longestClassic = 3500000000u;

/// Strips of about 256 kB, as each is decoded on its own.
std::uint32_t rowsOfStrip(const ImageHeader& header) {
    const long long length = static_cast<long long>(header.getWidth()) * header.getDepth() / 8;
    return static_cast<std::uint32_t>(std::clamp<long long>(262144 / std::max(length, 1LL), 1, header.getHeight()));
}

} // namespace

void ImageWriter::write(const Image& image, const std::string& filename, bool overwrite) const {
    if (!overwrite)
        FileInfo::requireFree(filename, WRITE);
    if (image.getData() == nullptr || image.dataLength() == 0)
        throw FileWriteError(WRITE, "Cannot write an image without pixels", filename);
    try {
        SafeFile file(filename);
        // libtiff goes back to the beginning.
        if (!file.isBeside())
            throw FileWriteError(WRITE, "Cannot open file for writing", filename);
        TiffFile tiff(file.descriptor(), filename, image.dataLength() > longestClassic);
        if (!tiff.isOpen())
            throw FileWriteError(WRITE, "Cannot open file for writing", filename);
        writeTIFF(image, tiff.get());
        if (TIFFWriteDirectory(tiff.get()) != 1)
            throw FileWriteError(WRITE, "Cannot write image data" + tiff.reason(), filename);
        tiff.close();
        file.commit();
    } catch (FileWriteError& error) {
        error.setWhere(WRITE);
        throw;
    }
}

void ImageWriter::writeTIFF(const Image& image, TIFF* tiff) const {
    writeTIFFHeader(image.getHeader(), tiff);
    writeTIFFPixelSize(image.getHeader(), tiff);
    if (image.getDepth() == 16 || image.isReal())
        writeTIFFRange(image, tiff);
    writeTIFFPixels(image, tiff);
    if (image.getHeader().hasColormap())
        writeTIFFColormap(image.getHeader(), tiff);
}

void ImageWriter::writeTIFFHeader(const ImageHeader& header, TIFF* tiff) const {
    const int depth = header.getDepth();
    const bool indexed = depth == 8 && header.hasColormap();
    const bool grey = depth <= 16 || header.isReal();
    const int photometric = indexed ? PHOTOMETRIC_PALETTE : grey ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    const int samples = grey ? 1 : depth / 8;
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, depth / samples);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, header.isReal() ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, header.getHeight());
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, header.getWidth());
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    if (__compression != Compression::None) {
        TIFFSetField(tiff, TIFFTAG_COMPRESSION,
                     __compression == Compression::Zstd ? COMPRESSION_ZSTD : COMPRESSION_ADOBE_DEFLATE);
        TIFFSetField(tiff, TIFFTAG_PREDICTOR,
                     header.isReal() ? PREDICTOR_FLOATINGPOINT
                     : indexed       ? PREDICTOR_NONE
                                     : PREDICTOR_HORIZONTAL);
    }
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsOfStrip(header));
    if (samples == 4) {
        const std::uint16_t unspecified = EXTRASAMPLE_UNSPECIFIED;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &unspecified);
    }
}

void ImageWriter::writeTIFFPixelSize(const ImageHeader& header, TIFF* tiff) const {
    const PixelCalibration& calibration = header.getPixelCalibration();
    const auto write = [&](std::uint32_t tag, float size) {
        const double perCentimeter = 0.01 / (double(size) * std::pow(10.0, calibration.getLengthUnit().getScale()));
        if (size > 0 && std::isfinite(perCentimeter))
            TIFFSetField(tiff, tag, perCentimeter);
    };
    if (calibration.isDefaultPixelWidth() && calibration.isDefaultPixelHeight())
        return;
    TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
    write(TIFFTAG_XRESOLUTION, calibration.getPixelWidth());
    write(TIFFTAG_YRESOLUTION, calibration.getPixelHeight());
}

/// The least and the greatest value, by which other programs set their display.
void ImageWriter::writeTIFFRange(const Image& image, TIFF* tiff) const {
    const PixelStatistics statistics = measure(image);
    if (statistics.channels.empty() || statistics.channels.front().numValues == 0)
        return;
    TIFFSetField(tiff, TIFFTAG_SMINSAMPLEVALUE, statistics.channels.front().min);
    TIFFSetField(tiff, TIFFTAG_SMAXSAMPLEVALUE, statistics.channels.front().max);
}

void ImageWriter::writeTIFFPixels(const Image& image, TIFF* tiff) const {
    // libtiff takes differences of neighbours within the row that it is given.
    const auto length = static_cast<std::size_t>(image.bytesPerLine());
    std::vector<unsigned char> row(length);
    for (int i = 0; i < image.getHeight(); ++i) {
        std::copy_n(image.getPixels()[i], length, row.begin());
        if (TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(i), 0) != 1)
            throw FileWriteError(WRITE, "Cannot write image data" + TiffFile::reason(tiff), TIFFFileName(tiff));
    }
}

void ImageWriter::writeTIFFColormap(const ImageHeader& header, TIFF* tiff) const {
    std::uint16_t red[256] = {};
    std::uint16_t green[256] = {};
    std::uint16_t blue[256] = {};
    const Colormap& colormap = *header.getColormap();
    for (int i = 0; i < std::min(colormap.getSize(), 256); ++i) {
        red[i] = static_cast<std::uint16_t>(colormap.getRed()[i] * 256);
        green[i] = static_cast<std::uint16_t>(colormap.getGreen()[i] * 256);
        blue[i] = static_cast<std::uint16_t>(colormap.getBlue()[i] * 256);
    }
    TIFFSetField(tiff, TIFFTAG_COLORMAP, red, green, blue);
}

} // namespace vorlen
