#include "images/files/tiffpicture.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <sys/stat.h>

#include "images/files/believablesize.h"
#include "images/files/samplecoding.h"
#include "images/files/tifffile.h"
#include "images/files/tiffrows.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

const char* const tiffHeaderPlace = "void ImageReader::readTiffHeader(ImageHeader&, TIFF*)";

std::uint64_t fileLength(TIFF* tiff) {
    struct stat status;
    return ::fstat(TIFFFileno(tiff), &status) == 0 ? std::uint64_t(status.st_size) : 0;
}

[[noreturn]] void refuse(TIFF* tiff, const std::string& what) {
    throw FileFormatError(tiffHeaderPlace, "Cannot read TIFF with " + what, TIFFFileName(tiff));
}

std::string compressionName(int compression) {
    switch (compression) {
    case 50002:
        return "JPEG XL";
    case 32769:
    case COMPRESSION_IT8CTPAD:
    case COMPRESSION_IT8LW:
    case COMPRESSION_IT8MP:
    case COMPRESSION_IT8BL:
        return "a prepress scheme";
    case COMPRESSION_JBIG:
        return "JBIG";
    case COMPRESSION_LERC:
        return "LERC";
    case COMPRESSION_ZSTD:
        return "Zstd";
    case COMPRESSION_WEBP:
        return "WebP";
    case COMPRESSION_LZMA:
        return "LZMA";
    default:
        return "number " + std::to_string(compression);
    }
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
    case COMPRESSION_PIXARLOG:
        return 1032;
    case COMPRESSION_LZW:
    case COMPRESSION_JPEG:
    case COMPRESSION_OJPEG:
        return 4096;
    default:
        return 65536;
    }
}

ValueType valueType(TIFF* tiff) {
    const int bits = tiffTag<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    switch (tiffTag<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT)) {
    case SAMPLEFORMAT_UINT:
    case SAMPLEFORMAT_VOID:
        break;
    case SAMPLEFORMAT_INT:
        if (bits < 2 || bits > 64)
            refuse(tiff, std::to_string(bits) + " bits per sample");
        return {ValueType::Signed, bits};
    case SAMPLEFORMAT_IEEEFP:
        if (bits != 16 && bits != 24 && bits != 32 && bits != 64)
            refuse(tiff, "floating-point numbers of " + std::to_string(bits) + " bits");
        return {ValueType::Real, bits};
    case SAMPLEFORMAT_COMPLEXINT:
    case SAMPLEFORMAT_COMPLEXIEEEFP:
        refuse(tiff, "complex numbers: write their absolute values");
    default:
        refuse(tiff, "a sample format that is not known");
    }
    if (bits < 1 || bits > 64)
        refuse(tiff, std::to_string(bits) + " bits per sample");
    return {ValueType::Unsigned, bits};
}

/// The kind of opacity that the extra samples begin with, EXTRASAMPLE_UNSPECIFIED for none.
int firstExtra(TIFF* tiff) {
    std::uint16_t count = 0;
    std::uint16_t* kinds = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) != 1 || count == 0 || kinds == nullptr)
        return EXTRASAMPLE_UNSPECIFIED;
    return kinds[0];
}

} // namespace

TiffPicture::TiffPicture(TIFF* tiff_) : tiff(tiff_) {
    const std::string filename = TIFFFileName(tiff);
    compression = tiffTag<std::uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    if (compression != COMPRESSION_NONE && !isJpeg2000(compression) &&
        !TIFFIsCODECConfigured(static_cast<std::uint16_t>(compression)))
        refuse(tiff, "the compression " + compressionName(compression) +
                         ": save it without compression, or with LZW or Deflate");
    const auto fileHeight = tiffTag<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH, 0);
    const auto fileWidth = tiffTag<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH, 0);
    if (tiffTag<std::uint32_t>(tiff, TIFFTAG_IMAGEDEPTH, 1) > 1)
        refuse(tiff, "several planes in one directory");
    readColours();
    const std::uint64_t pixelLength =
        std::max<std::uint64_t>(4, std::uint64_t(std::max(numFileSamples, page.numSamples)) * bytesOf(page.storage));
    const std::uint64_t greatest = std::numeric_limits<int>::max() / pixelLength;
    if (fileHeight == 0 || fileWidth == 0 || fileHeight > greatest || fileWidth > greatest)
        throw FileFormatError(tiffHeaderPlace, "Invalid TIFF image size", filename);
    width = static_cast<int>(fileWidth);
    height = static_cast<int>(fileHeight);
    requireBelievable();
    orientation = tiffTag<std::uint16_t>(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    // libtiff would turn what it converts by itself.
    if (conversion == ByLibtiff)
        TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    const bool turned = orientation >= 5 && orientation <= 8;
    page.width = turned ? height : width;
    page.height = turned ? width : height;
    readPixelSize();
}

void TiffPicture::readColours() {
    numFileSamples = tiffTag<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    separate = numFileSamples > 1 &&
               tiffTag<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric) != 1 && numFileSamples >= 3)
        photometric = PHOTOMETRIC_RGB;
    if (photometric == PHOTOMETRIC_YCBCR && compression == COMPRESSION_JPEG && !separate)
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB), photometric = PHOTOMETRIC_RGB;
    if (photometric == PHOTOMETRIC_YCBCR && compression == COMPRESSION_WEBP)
        photometric = PHOTOMETRIC_RGB;
    if (isJpeg2000(compression) && numFileSamples >= 3 && !separate &&
        (photometric == PHOTOMETRIC_YCBCR || photometric == PHOTOMETRIC_RGB)) {
        hasDifferences = photometric == PHOTOMETRIC_YCBCR || compression == 33003;
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB), photometric = PHOTOMETRIC_RGB; // of whole pixels
    }
    if (photometric == PHOTOMETRIC_LOGL)
        TIFFSetField(tiff, TIFFTAG_SGILOGDATAFMT, SGILOGDATAFMT_FLOAT), photometric = PHOTOMETRIC_MINISBLACK;
    if (photometric == PHOTOMETRIC_LOGLUV)
        TIFFSetField(tiff, TIFFTAG_SGILOGDATAFMT, SGILOGDATAFMT_8BIT), photometric = PHOTOMETRIC_RGB;
    page.values = valueType(tiff);
    page.storage = storageOf(page.values);
    page.numSamples = numFileSamples;
    if (isJpeg2000(compression) &&
        (page.values.kind == ValueType::Real || page.values.bits % 8 != 0 || page.values.bits > 32))
        refuse(tiff, "JPEG 2000 of " + page.values.name());
    const bool isWhole8or16 = page.values.kind != ValueType::Real && (page.values.bits == 8 || page.values.bits == 16);
    const auto becomesRgb = [this](Conversion by) {
        conversion = by;
        page.colour = ImagePage::Rgb;
        page.numSamples = 3;
        page.values.kind = ValueType::Unsigned;
        page.storage = storageOf(page.values);
    };
    const auto requireSamples = [this](int number, const char* colours) {
        if (numFileSamples < number)
            refuse(tiff, std::to_string(numFileSamples) + " samples per pixel for colours of " + colours);
    };
    switch (photometric) {
    case PHOTOMETRIC_RGB:
    case 34892: // linear, in raw pictures of cameras
        requireSamples(3, "red, green and blue");
        page.colour = ImagePage::Rgb;
        // A fourth sample without meaning is kept, as an opacity is that is no factor of the others.
        page.alpha = numFileSamples > 3 ? 3 : -1;
        page.alphaAssociated = firstExtra(tiff) == EXTRASAMPLE_ASSOCALPHA;
        break;
    case PHOTOMETRIC_PALETTE: {
        std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
        if (page.values.kind != ValueType::Unsigned || page.values.bits > 16)
            refuse(tiff, "a palette for samples that are no indexes of up to 16 bits");
        if (TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue) != 1 || !red || !green || !blue)
            throw FileFormatError(tiffHeaderPlace, "Cannot find the palette of TIFF", TIFFFileName(tiff));
        const std::ptrdiff_t size = std::ptrdiff_t(1) << page.values.bits;
        page.colour = ImagePage::Palette;
        for (const std::uint16_t* table : {red, green, blue})
            page.palette.insert(page.palette.end(), table, table + size);
        break;
    }
    case PHOTOMETRIC_SEPARATED:
        if (tiffTag<std::uint16_t>(tiff, TIFFTAG_INKSET, INKSET_CMYK) != INKSET_CMYK)
            break; // inks of any kind: channels
        requireSamples(4, "cyan, magenta, yellow and black");
        if (!isWhole8or16 || page.values.kind != ValueType::Unsigned)
            refuse(tiff, "inks of " + page.values.name());
        becomesRgb(Inks);
        break;
    case PHOTOMETRIC_CIELAB:
    case PHOTOMETRIC_ICCLAB:
        if (numFileSamples < 3)
            break; // lightness alone
        if (!isWhole8or16)
            refuse(tiff, "L*a*b* colours of " + page.values.name());
        becomesRgb(photometric == PHOTOMETRIC_CIELAB ? Lab : IccLab);
        break;
    case PHOTOMETRIC_YCBCR: {
        requireSamples(3, "luminance and chrominance");
        char reason[1024] = {};
        if (page.values.kind != ValueType::Unsigned || page.values.bits != 8 || !TIFFRGBAImageOK(tiff, reason))
            refuse(tiff, "YCbCr colours of " + page.values.name() + (reason[0] ? std::string(": ") + reason : ""));
        becomesRgb(ByLibtiff);
        break;
    }
    case PHOTOMETRIC_MINISWHITE:
        conversion = Invert;
        [[fallthrough]];
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MASK:
    case 51177: // depth
        if (numFileSamples == 2 && firstExtra(tiff) != EXTRASAMPLE_UNSPECIFIED) {
            page.alpha = 1;
            page.alphaAssociated = firstExtra(tiff) == EXTRASAMPLE_ASSOCALPHA;
        }
        break;
    case PHOTOMETRIC_ITULAB:
        refuse(tiff, "colours of a facsimile (ITU L*a*b*): save it as RGB");
    case 32803:
        refuse(tiff, "the raw samples of a camera's sensor: develop it to RGB");
    default:
        refuse(tiff, "colours of a kind that is not known (number " + std::to_string(photometric) + ")");
    }
}

/// The strips or tiles must lie in the file, and the pixels that the header promises be able to come out of them.
void TiffPicture::requireBelievable() {
    const std::uint64_t length = fileLength(tiff);
    const bool tiled = TIFFIsTiled(tiff) != 0;
    const std::uint32_t count = tiled ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
    const auto tooShort = [this] {
        throw FileReadError(tiffHeaderPlace, "This file is too short for the image size in its header",
                            TIFFFileName(tiff));
    };
    std::uint64_t needed =
        (std::uint64_t(width) * std::uint64_t(numFileSamples) * std::uint64_t(page.values.bits) + 7) / 8 *
        std::uint64_t(height);
    if (conversion == ByLibtiff && compression == COMPRESSION_NONE) {
        // So many luminances share two chrominances.
        std::uint16_t across = 2, down = 2;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_YCBCRSUBSAMPLING, &across, &down);
        const std::uint64_t columns = std::max<std::uint64_t>(across, 1), rows = std::max<std::uint64_t>(down, 1);
        needed = (std::uint64_t(width) + columns - 1) / columns * ((std::uint64_t(height) + rows - 1) / rows) *
                 (columns * rows + 2);
    }
    const std::uint64_t ratio = greatestRatio(compression);
    // At the least a strip for each row of each sample, a tile of one pixel: more are not asked for.
    if (count == 0 || count > 8 * (length + 1024))
        tooShort();
    std::uint64_t present = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        int error = 0;
        const std::uint64_t bytes = TIFFGetStrileByteCountWithErr(tiff, i, &error);
        const std::uint64_t offset = error ? 0 : TIFFGetStrileOffsetWithErr(tiff, i, &error);
        if (error)
            throw FileReadError(tiffHeaderPlace, "Cannot find the strips of TIFF" + TiffFile::reason(tiff),
                                TIFFFileName(tiff));
        // Only tiles are left out on purpose.
        if (bytes == 0 ? !tiled : offset >= length || bytes > length - offset)
            tooShort();
        present += bytes;
    }
    // Several strips may be the same bytes: the file is counted once.
    present = std::min(present, length);
    isBorneOut = needed <= (compression == COMPRESSION_NONE ? 0 : believedLength) || needed / ratio <= present;
    // Tiles may be shared or left out: what is believed is read, and of what is larger only parts.
    if (!isBorneOut && !(tiled && haveTilesTheirBytes(ratio)))
        tooShort();
    isBorneOut = isBorneOut || needed <= believedLength;
    if (tiled) {
        const auto tileWidth = tiffTag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH, 0);
        const auto tileHeight = tiffTag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH, 0);
        const std::uint64_t pixel = std::uint64_t(numFileSamples) * 8;
        if (tileWidth == 0 || tileHeight == 0 || tileWidth > std::uint32_t(std::numeric_limits<int>::max()) ||
            tileHeight > std::uint32_t(std::numeric_limits<int>::max()) ||
            std::uint64_t(tileWidth) * tileHeight > (std::max(needed * 4, believedLength) + 64 * length) / pixel)
            throw FileFormatError(tiffHeaderPlace, "Invalid TIFF tile size", TIFFFileName(tiff));
    }
}

/// Whether each tile that there is can come out of its bytes.
bool TiffPicture::haveTilesTheirBytes(std::uint64_t ratio) const {
    const std::uint64_t tileLength = TIFFTileSize64(tiff);
    const std::uint32_t count = TIFFNumberOfTiles(tiff);
    for (std::uint32_t i = 0; i < count; ++i)
        if (const std::uint64_t bytes = TIFFGetStrileByteCount(tiff, i); bytes > 0 && tileLength / ratio > bytes)
            return false;
    return tileLength > 0 && tileLength <= greatestBlock;
}

void TiffPicture::requireWhole() const {
    if (!isBorneOut)
        throw FileReadError(tiffHeaderPlace, "This file has too few bytes for all the pixels in its header",
                            TIFFFileName(tiff));
}

void TiffPicture::readPixelSize() {
    float xResolution = 0, yResolution = 0;
    TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &xResolution);
    TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &yResolution);
    const int unit = tiffTag<std::uint16_t>(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    if (orientation >= 5 && orientation <= 8)
        std::swap(xResolution, yResolution);
    const auto isUsable = [](float resolution) { return std::isfinite(resolution) && resolution > 1e-12f; };
    if (!isUsable(xResolution) && !isUsable(yResolution))
        return;
    // Without a unit a resolution says only how long the sides of a pixel are to each other.
    const double length = unit == RESUNIT_INCH ? 25400 : unit == RESUNIT_CENTIMETER ? 10000 : 0;
    if (length == 0) {
        if (isUsable(xResolution) && isUsable(yResolution))
            page.calibration.setAspectRatio(xResolution / yResolution);
        page.calibration.compute();
        return;
    }
    page.hasPixelSize = true;
    page.calibration.setLengthUnit(LengthUnit(-6));
    if (isUsable(xResolution))
        page.calibration.setPixelWidth(static_cast<float>(length / double(xResolution)));
    if (isUsable(yResolution))
        page.calibration.setPixelHeight(static_cast<float>(length / double(yResolution)));
    page.calibration.compute();
}

} // namespace vorlen
