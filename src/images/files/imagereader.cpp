#include "images/files/imagereader.h"

#include "files/fileinfo.h"
#include "images/files/imagemosaic.h"
#include "images/files/tifffile.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "values/imagesource.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <vector>

namespace vorlen {

namespace {

const int IMG_SIDE = 512;
const int IMG_OFFSET = 12;

std::string formatted(const char* format, int value) {
    char text[96];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

/// The format by the file's first bytes. The header is cleared and takes the format.
void detectFormat(ImageHeader& header, const std::string& filename) {
    std::error_code error;
    std::ifstream file;
    // A pipe would hang and a directory opens without being readable.
    if (std::filesystem::is_regular_file(filename, error))
        file.open(filename, std::ios::binary);
    if (!file.is_open())
        throw FileReadError("void ImageReader::readHeader(ImageHeader&,const string&)", "Cannot open file for reading",
                            filename);
    char magic[4] = {};
    file.read(magic, 4);
    header.clear();
    header.setImageFormat(UnknownImageFormat);
    if (std::memcmp(magic, "0000", 4) == 0) {
        const std::string suffix = FileInfo::suffixName(filename);
        if (suffix == "img" || suffix == "IMG")
            header.setImageFormat(ImgImageFormat);
    } else if (std::memcmp(magic, "II*", 3) == 0 || (magic[0] == 'M' && magic[1] == 'M' && magic[3] == '*')) {
        header.setImageFormat(TiffImageFormat);
    }
    if (header.getImageFormat() == UnknownImageFormat)
        throw FileFormatError("void ImageReader::readHeader(ImageHeader&,const string&) const",
                              "Unrecognized image file format", filename);
    if (header.getImageFormat() == ImgImageFormat) {
        header.setHeight(IMG_SIDE);
        header.setWidth(IMG_SIDE);
        header.setDepth(8);
    }
}

void requireOpen(const TiffFile& tiff, const std::string& filename) {
    if (!tiff.isOpen())
        throw FileReadError("void ImageReader::readHeader(ImageHeader&,const string&)",
                            "Cannot read TIFF directory" + tiff.reason(), filename);
}

/// Bytes of pixels that one byte of a file can at most stand for: exact for the simple methods (a run of 128 bytes in
/// 2, 258 bytes in 2 bits), above the longest string of a 12-bit code for LZW, and generous for the others.
std::uint64_t greatestRatio(int compression) {
    switch (compression) {
    case COMPRESSION_NONE:
        return 1;
    case COMPRESSION_PACKBITS:
        return 64;
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE:
        return 1032;
    case COMPRESSION_LZW:
    case COMPRESSION_JPEG:
    case COMPRESSION_OJPEG:
        return 4096;
    default:
        return 65536;
    }
}

} // namespace

ImageReader::~ImageReader() = default;

void ImageReader::read(ImageHeader& header, const std::string& filename) {
    ImageHeader result;
    detectFormat(result, filename);
    if (result.getImageFormat() == TiffImageFormat) {
        const TiffFile tiff(filename);
        requireOpen(tiff, filename);
        readTiffHeader(result, tiff.get());
    }
    header.swap(result);
}

void ImageReader::read(Image& image, const std::string& filename) {
    try {
        ImageHeader header;
        Image result;
        const auto prepare = [&] {
            result.init(header.getWidth(), header.getHeight(), header.getDepth());
            result.setHeader(header);
            if (header.hasColormap())
                result.setColormap(*header.getColormap());
        };
        detectFormat(header, filename);
        if (header.getImageFormat() == ImgImageFormat) {
            prepare();
            readImgPixels(result, filename);
        } else {
            const TiffFile tiff(filename);
            requireOpen(tiff, filename);
            readTiffHeader(header, tiff.get());
            prepare();
            readTiffPixels(result, tiff.get());
        }
        image.swap(result);
    } catch (Exception& exception) {
        exception.addWhere("void ImageReader::read(...)");
        throw;
    }
}

void ImageReader::read(Image& image, const ImageSource& source) {
    source.read(*this, image);
}

void ImageReader::read(Image& image, const ImageMosaic& mosaic) {
    if (mosaic.getRows() == 1 && mosaic.getCols() == 1) {
        try {
            read(image, mosaic.getItemPathname(0, 0) + mosaic.getItemFilename(0, 0));
        } catch (Exception& exception) {
            exception.addWhere("void ImageReader::read(Image&, const ImageMosaic&)");
            throw;
        }
        return;
    }
    mosaic.load(image, *this);
}

bool ImageReader::readImgPixels(Image& image, const std::string& filename) {
    std::ifstream file(filename, std::ios::binary);
    char start[IMG_OFFSET];
    const std::streamsize length = static_cast<std::streamsize>(IMG_SIDE) * IMG_SIDE;
    std::streamsize done = 0;
    if (file.read(start, IMG_OFFSET)) {
        file.read(reinterpret_cast<char*>(image.getData()), length);
        done = file.gcount();
    }
    std::memset(image.getData() + done, 0, static_cast<std::size_t>(length - done));
    return done == length;
}

void ImageReader::readTiffHeader(ImageHeader& header, TIFF* tiff) {
    const std::string where = "void ImageReader::readTiffHeader(ImageHeader&, TIFF*)";
    const std::string filename = TIFFFileName(tiff);
    std::uint16_t samples = 1, bits = 1, photometric = PHOTOMETRIC_MINISBLACK, compression = COMPRESSION_NONE;
    std::uint32_t height = 0, width = 0;
    float xResolution = 0, yResolution = 0;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &xResolution);
    TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &yResolution);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
    if (bits != 8 && bits != 16)
        throw FileFormatError(where, formatted("Cannot read TIFF with %d bits per sample", bits), filename);
    if (samples != 1 && samples != 3 && samples != 4)
        throw FileFormatError(where, formatted("Cannot read TIFF with %d samples per pixel", samples), filename);
    const int depth = bits * samples;
    const std::uint32_t greatest = static_cast<std::uint32_t>(std::numeric_limits<int>::max() / (depth / 8));
    if (height == 0 || width == 0 || height > greatest || width > greatest)
        throw FileFormatError(where, "Invalid TIFF image size", filename);

    // The pixels that the header promises must be able to come out of a file of this length. Divisions instead of
    // products keep the comparison within 64 bits.
    struct stat status;
    if (::fstat(TIFFFileno(tiff), &status) != 0)
        throw FileReadError(where, "Cannot find the file's length", filename);
    const std::uint64_t lineLength = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(depth / 8);
    const std::uint64_t length = static_cast<std::uint64_t>(status.st_size) * greatestRatio(compression);
    if (length / lineLength < height)
        throw FileReadError(where, "This file is too short for the image size in its header", filename);

    header.setHeight(static_cast<int>(height));
    header.setWidth(static_cast<int>(width));
    header.setDepth(depth);
    PixelCalibration calibration;
    if (xResolution > Vector<float>::epsilon())
        calibration.setPixelWidth(1 / xResolution);
    if (yResolution > Vector<float>::epsilon())
        calibration.setPixelHeight(1 / yResolution);
    calibration.compute();
    header.setPixelCalibration(calibration);
    if (photometric == PHOTOMETRIC_PALETTE)
        readTiffColormap(header, tiff);
}

void ImageReader::readTiffColormap(ImageHeader& header, TIFF* tiff) {
    std::uint16_t bits = 8;
    std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
    TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    if (TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue) != 1 || !red || !green || !blue)
        return;
    Colormap colormap(1 << bits);
    for (int i = 0; i < colormap.getSize(); ++i) {
        colormap.getRed()[i] = static_cast<unsigned char>(red[i] >> 8);
        colormap.getGreen()[i] = static_cast<unsigned char>(green[i] >> 8);
        colormap.getBlue()[i] = static_cast<unsigned char>(blue[i] >> 8);
    }
    header.setColormap(colormap);
}

void ImageReader::readTiffPixels(Image& image, TIFF* tiff) {
    const std::string where = "void Image::readTiffPixels(Image&, TIFF*)";
    const std::string filename = TIFFFileName(tiff);
    notifyStarted("");
    if (TIFFIsTiled(tiff))
        throw FileFormatError(where, "Cannot read TIFF with tiles", filename);
    if (image.getDepth() >= 24) {
        std::uint16_t planes = PLANARCONFIG_CONTIG, compression = COMPRESSION_NONE;
        TIFFGetField(tiff, TIFFTAG_PLANARCONFIG, &planes);
        if (planes != PLANARCONFIG_CONTIG)
            throw FileFormatError(where, "Cannot read TIFF with separate planes", filename);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
        if (compression == COMPRESSION_JPEG)
            TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    }
    const tmsize_t lineLength = image.bytesPerLine();
    const tmsize_t scanlineSize = TIFFScanlineSize(tiff);
    if (scanlineSize < lineLength)
        throw FileFormatError(where, "Cannot read TIFF with subsampled colours", filename);
    // A scanline of the image's own length goes straight into its row.
    std::vector<unsigned char> buffer;
    if (scanlineSize > lineLength)
        buffer.resize(static_cast<std::size_t>(scanlineSize));
    const int height = image.getHeight();
    unsigned char** rows = image.getPixels();
    int row = 0;
    for (; row < height && !isCanceled(); ++row) {
        unsigned char* target = buffer.empty() ? rows[row] : buffer.data();
        if (TIFFReadScanline(tiff, target, static_cast<std::uint32_t>(row), 0) < 0)
            throw FileReadError(where, formatted("Cannot read row %d of TIFF", row) + TiffFile::reason(tiff), filename);
        if (!buffer.empty())
            std::memcpy(rows[row], target, static_cast<std::size_t>(lineLength));
        notifyProgressed(static_cast<unsigned int>(row + 1), static_cast<unsigned int>(height));
    }
    for (int rest = row; rest < height; ++rest)
        std::memset(rows[rest], 0, static_cast<std::size_t>(lineLength));
    if (isCanceled())
        notifyCanceled("");
    else
        notifyFinished("");
}

} // namespace vorlen
