#include "images/files/tiffpicture.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "images/files/believablesize.h"
#include "images/files/colourmodels.h"
#include "images/files/jpeg2000decoder.h"
#include "images/files/orientedrows.h"
#include "images/files/samplecoding.h"
#include "images/files/samplesink.h"
#include "images/files/tifffile.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

const char* const tiffHeaderPlace = "void ImageReader::readTiffHeader(ImageHeader&, TIFF*)";
/// Bytes of a tile or strip that may be decoded for a part of it.
constexpr std::uint64_t greatestBlock = std::uint64_t(64) << 20;

const char* const tiffPixelPlace = "void Image::readTiffPixels(Image&, TIFF*)";

template <class Value>
Value tag(TIFF* tiff, ttag_t name, Value otherwise) {
    Value value = otherwise;
    return TIFFGetFieldDefaulted(tiff, name, &value) == 1 ? value : otherwise;
}

std::uint64_t fileLength(TIFF* tiff) {
    struct stat status;
    return ::fstat(TIFFFileno(tiff), &status) == 0 ? std::uint64_t(status.st_size) : 0;
}

[[noreturn]] void refuse(TIFF* tiff, const std::string& what) {
    throw FileFormatError(tiffHeaderPlace, "Cannot read TIFF with " + what, TIFFFileName(tiff));
}

/// The numbers under which makers of slide scanners (33003 for brightness and differences, 33005 for red, green and
/// blue) and others have JPEG 2000, which libtiff hands out as it is.
bool isJpeg2000(int compression) {
    return compression == 33003 || compression == 33005 || compression == 34712;
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
    const int bits = tag<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    switch (tag<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT)) {
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

/// The rows of the file on their way to the sink: from packed samples through the samples of the file, in numbers, to
/// those of the page.
struct TiffPicture::Rows {
    Rows(const TiffPicture& picture_, SampleSink& sink)
        : picture(picture_), type(picture_.page.values), sampleLength(bytesOf(picture_.page.storage)),
          out(sink, picture_.orientation, picture_.width, picture_.height,
              std::size_t(picture_.page.numSamples) * sampleLength) {
        const bool packed = type.kind == ValueType::Real ? type.bits < 32 : std::size_t(type.bits) != 8 * sampleLength;
        isDirect = !packed && picture.conversion == None;
        fileRowLength = std::size_t(picture.width) * std::size_t(picture.numFileSamples) * sampleLength;
    }

    /// Bytes of packed samples.
    std::size_t packedLength(std::size_t count) const { return (count * std::size_t(type.bits) + 7) / 8; }

    /// The samples of a file's row go on as those of the page. False when no more are wanted.
    bool put(int row, unsigned char* samples) {
        const std::size_t count = std::size_t(picture.width);
        switch (picture.conversion) {
        case None:
        case ByLibtiff:
            return out.put(row, samples);
        case Invert:
            invertSamples(samples, count, std::size_t(picture.numFileSamples), type);
            return out.put(row, samples);
        case Inks:
            converted.resize(count * 3 * sampleLength);
            inksToRgb(samples, count, picture.numFileSamples, picture.page.storage, converted.data());
            break;
        case Lab:
        case IccLab:
            converted.resize(count * 3 * sampleLength);
            labToRgb(samples, count, picture.numFileSamples, picture.page.storage, picture.conversion == IccLab,
                     converted.data());
        }
        return out.put(row, converted.data());
    }

    const TiffPicture& picture;
    const ValueType type;
    const std::size_t sampleLength;
    OrientedRows out;
    bool isDirect; ///< samples as they come from libtiff are those of the page
    std::size_t fileRowLength;
    std::vector<unsigned char> converted;
};

TiffPicture::TiffPicture(TIFF* tiff_) : tiff(tiff_) {
    const std::string filename = TIFFFileName(tiff);
    compression = tag<std::uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    if (compression != COMPRESSION_NONE && !isJpeg2000(compression) &&
        !TIFFIsCODECConfigured(static_cast<std::uint16_t>(compression)))
        refuse(tiff, "the compression " + compressionName(compression) +
                         ": save it without compression, or with LZW or Deflate");
    const auto fileHeight = tag<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH, 0);
    const auto fileWidth = tag<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH, 0);
    if (tag<std::uint32_t>(tiff, TIFFTAG_IMAGEDEPTH, 1) > 1)
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
    orientation = tag<std::uint16_t>(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    // libtiff would turn what it converts by itself.
    if (conversion == ByLibtiff)
        TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    const bool turned = orientation >= 5 && orientation <= 8;
    page.width = turned ? height : width;
    page.height = turned ? width : height;
    readPixelSize();
}

void TiffPicture::readColours() {
    numFileSamples = tag<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    separate = numFileSamples > 1 &&
               tag<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
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
        if (tag<std::uint16_t>(tiff, TIFFTAG_INKSET, INKSET_CMYK) != INKSET_CMYK)
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
        const auto tileWidth = tag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH, 0);
        const auto tileHeight = tag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH, 0);
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
    const int unit = tag<std::uint16_t>(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
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

/// Whether a picture of tiles that are shared or left out can be read from end to end: a row of tiles at a time, in
/// bounded memory and time.
bool TiffPicture::canBeStreamed() const {
    constexpr std::uint64_t greatestBand = std::uint64_t(256) << 20, greatestPicture = std::uint64_t(16) << 30;
    const std::uint64_t row = std::uint64_t(width) * std::uint64_t(numFileSamples) * bytesOf(page.storage);
    const PictureLevel tiles = allBlocks();
    return TIFFIsTiled(tiff) != 0 && row * std::uint64_t(std::min(tiles.blockHeight, height)) <= greatestBand &&
           row * std::uint64_t(height) <= greatestPicture;
}

void TiffPicture::read(SampleSink& sink) const {
    if (!canBeStreamed())
        requireWhole();
    Rows rows(*this, sink);
    const bool tiled = TIFFIsTiled(tiff) != 0;
    if (conversion == ByLibtiff)
        tiled ? readColourTiles(rows) : readColourStrips(rows);
    else if (isJpeg2000(compression))
        readPart({0, 0, width, height}, sink);
    else if (tiled)
        readTiles(rows);
    else if (compression == COMPRESSION_JBIG)
        readWholeStrips(rows);
    else if (separate)
        readSeparateStrips(rows);
    else
        readStrips(rows);
}

void TiffPicture::fail(const std::string& what, int row) const {
    throw FileReadError(tiffPixelPlace,
                        "Cannot read " + what + " " + std::to_string(row) + " of TIFF" + TiffFile::reason(tiff),
                        TIFFFileName(tiff));
}

/// Row by row, so that a picture in one strip is not decoded into a second place first.
void TiffPicture::readStrips(Rows& rows) const {
    const std::size_t count = std::size_t(width) * std::size_t(numFileSamples);
    const tmsize_t scanline = TIFFScanlineSize(tiff);
    if (scanline < static_cast<tmsize_t>(rows.packedLength(count)))
        throw FileFormatError(tiffPixelPlace, "Cannot read TIFF with subsampled colours", TIFFFileName(tiff));
    const bool exact = static_cast<std::size_t>(scanline) == rows.fileRowLength;
    if (rows.isDirect && exact && readPlainStrips(rows))
        return;
    std::vector<unsigned char> packed, samples;
    for (int row = 0; row < height; ++row) {
        unsigned char* target = rows.isDirect && exact ? rows.out.target(row) : nullptr;
        const bool straight = target != nullptr;
        if (!straight) {
            packed.resize(static_cast<std::size_t>(scanline));
            target = packed.data();
        }
        if (TIFFReadScanline(tiff, target, std::uint32_t(row), 0) < 0)
            fail("row", row);
        if (!straight && !(rows.isDirect && exact)) {
            samples.resize(rows.fileRowLength);
            unpackSamples(packed.data(), count, rows.type, samples.data(), 1);
            target = samples.data();
        }
        if (!rows.put(row, target))
            return;
    }
}

/// Rows without compression that the sink takes just as they are, and one behind the other: from the file straight to
/// where they belong, where libtiff would copy each once more. False, with nothing done, where this is not so.
bool TiffPicture::readPlainStrips(Rows& rows) const {
    const std::size_t length = rows.fileRowLength;
    const std::uint32_t asked = std::max(tag<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, 0), 1u);
    const int rowsPerStrip = static_cast<int>(std::min<std::uint32_t>(asked, std::uint32_t(height)));
    if (compression != COMPRESSION_NONE || (TIFFIsByteSwapped(tiff) && page.values.bits > 8) ||
        tag<std::uint16_t>(tiff, TIFFTAG_FILLORDER, FILLORDER_MSB2LSB) != FILLORDER_MSB2LSB ||
        rows.out.target(0) == nullptr ||
        rows.out.target(height - 1) != rows.out.target(0) + length * std::size_t(height - 1))
        return false;
    for (int top = 0; top < height; top += rowsPerStrip)
        if (TIFFGetStrileByteCount(tiff, TIFFComputeStrip(tiff, std::uint32_t(top), 0)) <
            length * std::size_t(std::min(rowsPerStrip, height - top)))
            return false;
    // Some rows at a time, so that a wish to cancel is heard.
    const int rowsTogether = static_cast<int>(std::clamp<std::size_t>((std::size_t(1) << 20) / length, 1, 1 << 20));
    for (int top = 0, numRows = 0; top < height; top += numRows) {
        const int inStrip = top % rowsPerStrip;
        numRows = std::min({rowsTogether, rowsPerStrip - inStrip, height - top});
        const std::uint64_t offset =
            TIFFGetStrileOffset(tiff, TIFFComputeStrip(tiff, std::uint32_t(top), 0)) + length * std::size_t(inStrip);
        unsigned char* const target = rows.out.target(top);
        const std::size_t total = length * std::size_t(numRows);
        for (std::size_t done = 0; done < total;) {
            const ssize_t got =
                ::pread(TIFFFileno(tiff), target + done, total - done, static_cast<off_t>(offset + done));
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                fail("row", top + static_cast<int>(done / length));
            done += static_cast<std::size_t>(got);
        }
        for (int i = 0; i < numRows; ++i)
            if (!rows.put(top + i, target + length * std::size_t(i)))
                return true;
    }
    return true;
}

/// For a codec that gives no rows.
void TiffPicture::readWholeStrips(Rows& rows) const {
    const std::size_t count = std::size_t(width) * std::size_t(numFileSamples);
    const auto scanline = static_cast<std::size_t>(TIFFScanlineSize(tiff));
    const std::uint32_t asked = tag<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, 0);
    const int rowsPerStrip = static_cast<int>(std::min<std::uint32_t>(std::max(asked, 1u), std::uint32_t(height)));
    std::vector<unsigned char> strip(scanline * std::size_t(rowsPerStrip)), samples(rows.fileRowLength);
    if (separate || scanline < rows.packedLength(count))
        throw FileFormatError(tiffPixelPlace, "Cannot read TIFF with this compression and several planes",
                              TIFFFileName(tiff));
    for (int top = 0; top < height; top += rowsPerStrip) {
        const int numRows = std::min(rowsPerStrip, height - top);
        const auto length = static_cast<tmsize_t>(scanline * std::size_t(numRows));
        if (TIFFReadEncodedStrip(tiff, TIFFComputeStrip(tiff, std::uint32_t(top), 0), strip.data(), length) != length)
            fail("row", top);
        for (int i = 0; i < numRows; ++i) {
            unpackSamples(&strip[scanline * std::size_t(i)], count, rows.type, samples.data(), 1);
            if (!rows.put(top + i, samples.data()))
                return;
        }
    }
}

/// One plane after the other, since their strips are decoded from their beginnings.
void TiffPicture::readSeparateStrips(Rows& rows) const {
    const tmsize_t scanline = TIFFScanlineSize(tiff);
    if (scanline < static_cast<tmsize_t>(rows.packedLength(std::size_t(width))))
        throw FileFormatError(tiffPixelPlace, "Cannot read TIFF with subsampled colours", TIFFFileName(tiff));
    std::vector<unsigned char> packed(static_cast<std::size_t>(scanline));
    std::vector<unsigned char> all(rows.fileRowLength * std::size_t(height));
    for (int sample = 0; sample < numFileSamples; ++sample)
        for (int row = 0; row < height; ++row) {
            if (TIFFReadScanline(tiff, packed.data(), std::uint32_t(row), static_cast<std::uint16_t>(sample)) < 0)
                fail("row", row);
            unsigned char* const target =
                &all[std::size_t(row) * rows.fileRowLength + std::size_t(sample) * rows.sampleLength];
            unpackSamples(packed.data(), std::size_t(width), rows.type, target, std::size_t(numFileSamples));
        }
    for (int row = 0; row < height; ++row)
        if (!rows.put(row, &all[std::size_t(row) * rows.fileRowLength]))
            return;
}

/// A row of tiles at a time.
void TiffPicture::readTiles(Rows& rows) const {
    const int tileWidth = static_cast<int>(tag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH, 1));
    const int tileHeight = static_cast<int>(tag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH, 1));
    const int numInTile = separate ? 1 : numFileSamples;
    const tmsize_t tileLength = TIFFTileSize(tiff), tileRow = TIFFTileRowSize(tiff);
    if (tileRow < static_cast<tmsize_t>(rows.packedLength(std::size_t(tileWidth) * std::size_t(numInTile))) ||
        tileLength < tileRow * tileHeight)
        throw FileFormatError(tiffPixelPlace, "Cannot read TIFF with subsampled colours", TIFFFileName(tiff));
    std::vector<unsigned char> tile(static_cast<std::size_t>(tileLength));
    std::vector<unsigned char> band;
    std::vector<unsigned char*> targets(static_cast<std::size_t>(std::min(tileHeight, height)));
    const std::size_t pixelLength = std::size_t(numFileSamples) * rows.sampleLength;
    for (int top = 0; top < height; top += tileHeight) {
        const int numRows = std::min(tileHeight, height - top);
        for (int i = 0; i < numRows; ++i) {
            unsigned char*& target = targets[std::size_t(i)];
            target = rows.isDirect ? rows.out.target(top + i) : nullptr;
            if (target == nullptr) {
                band.resize(rows.fileRowLength * std::size_t(std::min(tileHeight, height)));
                target = &band[std::size_t(i) * rows.fileRowLength];
            }
        }
        for (int sample = 0; sample < (separate ? numFileSamples : 1); ++sample)
            for (int left = 0; left < width; left += tileWidth) {
                const auto index = TIFFComputeTile(tiff, std::uint32_t(left), std::uint32_t(top), 0,
                                                   static_cast<std::uint16_t>(sample));
                if (TIFFGetStrileByteCount(tiff, index) == 0)
                    std::fill(tile.begin(), tile.end(), static_cast<unsigned char>(0));
                else if (TIFFReadEncodedTile(tiff, index, tile.data(), tileLength) < 0)
                    fail("the tile at row", top);
                const std::size_t count = std::size_t(std::min(tileWidth, width - left)) * std::size_t(numInTile);
                const std::size_t at = std::size_t(left) * pixelLength + std::size_t(sample) * rows.sampleLength;
                for (int i = 0; i < numRows; ++i)
                    unpackSamples(&tile[std::size_t(i) * std::size_t(tileRow)], count, rows.type,
                                  targets[std::size_t(i)] + at, separate ? std::size_t(numFileSamples) : 1);
            }
        for (int i = 0; i < numRows; ++i)
            if (!rows.put(top + i, targets[std::size_t(i)]))
                return;
    }
}

namespace {

/// Red, green and blue of a row that libtiff has made.
void takeColours(const std::uint32_t* from, int count, unsigned char* to) {
    for (int j = 0; j < count; ++j) {
        *to++ = static_cast<unsigned char>(TIFFGetR(from[j]));
        *to++ = static_cast<unsigned char>(TIFFGetG(from[j]));
        *to++ = static_cast<unsigned char>(TIFFGetB(from[j]));
    }
}

} // namespace

/// libtiff hands out a strip from its last row to its first.
void TiffPicture::readColourStrips(Rows& rows) const {
    const std::uint32_t asked = tag<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, 0);
    const int rowsPerStrip = static_cast<int>(std::min<std::uint32_t>(std::max(asked, 1u), std::uint32_t(height)));
    std::vector<std::uint32_t> raster(std::size_t(width) * std::size_t(rowsPerStrip));
    std::vector<unsigned char> colours(3 * std::size_t(width));
    for (int top = 0; top < height; top += rowsPerStrip) {
        if (!TIFFReadRGBAStripExt(tiff, std::uint32_t(top), raster.data(), 1))
            fail("row", top);
        const int numRows = std::min(rowsPerStrip, height - top);
        for (int i = 0; i < numRows; ++i) {
            takeColours(&raster[std::size_t(numRows - 1 - i) * std::size_t(width)], width, colours.data());
            if (!rows.put(top + i, colours.data()))
                return;
        }
    }
}

void TiffPicture::readColourTiles(Rows& rows) const {
    const int tileWidth = static_cast<int>(tag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH, 1));
    const int tileHeight = static_cast<int>(tag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH, 1));
    std::vector<std::uint32_t> raster(std::size_t(tileWidth) * std::size_t(tileHeight));
    const std::size_t length = 3 * std::size_t(width);
    std::vector<unsigned char> band(length * std::size_t(std::min(tileHeight, height)));
    for (int top = 0; top < height; top += tileHeight) {
        const int numRows = std::min(tileHeight, height - top);
        for (int left = 0; left < width; left += tileWidth) {
            if (!TIFFReadRGBATileExt(tiff, std::uint32_t(left), std::uint32_t(top), raster.data(), 1))
                fail("the tile at row", top);
            for (int i = 0; i < numRows; ++i)
                takeColours(&raster[std::size_t(tileHeight - 1 - i) * std::size_t(tileWidth)],
                            std::min(tileWidth, width - left), &band[std::size_t(i) * length + 3 * std::size_t(left)]);
        }
        for (int i = 0; i < numRows; ++i)
            if (!rows.put(top + i, &band[std::size_t(i) * length]))
                return;
    }
}

PictureLevel TiffPicture::blocks() const {
    const std::uint64_t length = TIFFIsTiled(tiff) != 0 ? TIFFTileSize64(tiff) : TIFFStripSize64(tiff);
    PictureLevel level = allBlocks();
    if (orientation != ORIENTATION_TOPLEFT || compression == COMPRESSION_JBIG || length == 0 ||
        length > greatestBlock ||
        std::uint64_t(level.blockWidth) * std::uint64_t(level.blockHeight) * 4 > greatestBlock)
        level.blockWidth = level.blockHeight = 0;
    return level;
}

/// Whatever they cost.
PictureLevel TiffPicture::allBlocks() const {
    const bool tiled = TIFFIsTiled(tiff) != 0;
    PictureLevel level{width, height, 0, 0};
    const std::uint32_t rows = std::max(tag<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, 0), 1u);
    level.blockWidth = tiled ? static_cast<int>(tag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH, 1)) : width;
    level.blockHeight = tiled ? static_cast<int>(tag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH, 1))
                              : static_cast<int>(std::min<std::uint32_t>(rows, std::uint32_t(height)));
    return level;
}

/// One tile or strip, of one sample where they are in planes of their own, as it is decoded.
struct TiffPicture::Block {
    Block(const TiffPicture& picture_, const Rows& rows)
        : picture(picture_), tiled(TIFFIsTiled(picture.tiff) != 0), size(picture.allBlocks()),
          numInPixel(picture.separate ? 1 : picture.numFileSamples) {
        if (picture.conversion == ByLibtiff) {
            colours.resize(std::size_t(size.blockWidth) * std::size_t(size.blockHeight));
            return;
        }
        rowLength = static_cast<std::size_t>(tiled ? TIFFTileRowSize(picture.tiff) : TIFFScanlineSize(picture.tiff));
        const auto length = static_cast<std::size_t>(tiled ? TIFFTileSize(picture.tiff) : TIFFStripSize(picture.tiff));
        if (rowLength < rows.packedLength(std::size_t(size.blockWidth) * std::size_t(numInPixel)) ||
            length < rowLength * std::size_t(size.blockHeight))
            throw FileFormatError(tiffPixelPlace, "Cannot read TIFF with subsampled colours",
                                  TIFFFileName(picture.tiff));
        bytes.resize(length);
    }

    void decode(int left_, int top_, int sample) {
        left = left_;
        top = top_;
        TIFF* const file = picture.tiff;
        const auto x = std::uint32_t(left), y = std::uint32_t(top);
        const auto plane = static_cast<std::uint16_t>(sample);
        bool done = true;
        if (picture.conversion == ByLibtiff) {
            done = (tiled ? TIFFReadRGBATileExt(file, x, y, colours.data(), 1)
                          : TIFFReadRGBAStripExt(file, y, colours.data(), 1)) != 0;
        } else {
            const std::uint32_t index =
                tiled ? TIFFComputeTile(file, x, y, 0, plane) : TIFFComputeStrip(file, y, plane);
            const auto length = static_cast<tmsize_t>(bytes.size());
            if (TIFFGetStrileByteCount(file, index) == 0)
                std::fill(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
            else if (isJpeg2000(picture.compression))
                done = decodeJpeg2000(index);
            else
                done = (tiled ? TIFFReadEncodedTile(file, index, bytes.data(), length)
                              : TIFFReadEncodedStrip(file, index, bytes.data(), length)) >= 0;
        }
        if (!done)
            picture.fail(tiled ? "the tile at row" : "row", top);
    }

    /// libtiff hands out the bytes of the codestream, which has all of the block that lies in the picture.
    bool decodeJpeg2000(std::uint32_t index) {
        TIFF* const file = picture.tiff;
        coded.resize(std::size_t(TIFFGetStrileByteCount(file, index)));
        const auto length = static_cast<tmsize_t>(coded.size());
        if ((tiled ? TIFFReadRawTile(file, index, coded.data(), length)
                   : TIFFReadRawStrip(file, index, coded.data(), length)) != length)
            return false;
        Jpeg2000Decoder decoder(coded, TIFFFileName(file));
        const ImagePage form = decoder.page();
        const int numColumns = std::min(size.blockWidth, picture.width - left);
        const int numRows = std::min(size.blockHeight, picture.height - top);
        const ValueType& values = picture.page.values;
        if (form.width < numColumns || form.height < numRows || form.width > size.blockWidth ||
            form.height > size.blockHeight || decoder.numComponents() != numInPixel || form.values.bits > values.bits)
            throw FileReadError(tiffPixelPlace, "A part in JPEG 2000 has another form than the header of TIFF tells",
                                TIFFFileName(file));
        decoder.decode();
        const std::size_t sampleLength = std::size_t(values.bits) / 8;
        std::vector<std::int32_t> row(std::size_t(form.width) * std::size_t(numInPixel));
        for (int i = 0; i < numRows; ++i) {
            decoder.row(i, row.data());
            if (picture.hasDifferences || decoder.isDifference())
                Jpeg2000Decoder::differencesToRgb(row.data(), std::size_t(form.width), std::size_t(numInPixel), values);
            withSampleType(picture.page.storage, [&](auto typed) {
                using Sample = decltype(typed);
                unsigned char* to = &bytes[std::size_t(i) * rowLength];
                for (std::size_t k = 0; k < row.size(); ++k, to += sampleLength) {
                    const auto sample = static_cast<Sample>(row[k]);
                    std::memcpy(to, &sample, std::min(sampleLength, sizeof sample));
                }
            });
        }
        return true;
    }

    /// The pixels of a row from a column on, both of the picture, unpacked to where each sample is step elements
    /// from the last.
    void unpack(int row, int column, int count, const Rows& rows, unsigned char* target, std::size_t step) {
        if (picture.conversion == ByLibtiff) {
            // libtiff hands out a block from its last row to its first.
            const int numRows = tiled ? size.blockHeight : std::min(size.blockHeight, picture.height - top);
            const std::uint32_t* from = &colours[std::size_t(numRows - 1 - (row - top)) * std::size_t(size.blockWidth)];
            takeColours(from + (column - left), count, target);
            return;
        }
        const std::size_t skipped = std::size_t(column - left) * std::size_t(numInPixel);
        const std::size_t number = std::size_t(count) * std::size_t(numInPixel);
        const std::size_t skippedBits = skipped * std::size_t(rows.type.bits);
        const unsigned char* const from = &bytes[std::size_t(row - top) * rowLength];
        if (skippedBits % 8 == 0) {
            unpackSamples(from + skippedBits / 8, number, rows.type, target, step);
            return;
        }
        unpacked.resize((skipped + number) * rows.sampleLength);
        unpackSamples(from, skipped + number, rows.type, unpacked.data(), 1);
        for (std::size_t k = 0; k < number; ++k)
            std::memcpy(target + k * step * rows.sampleLength, &unpacked[(skipped + k) * rows.sampleLength],
                        rows.sampleLength);
    }

    const TiffPicture& picture;
    const bool tiled;
    const PictureLevel size;
    const int numInPixel;
    std::size_t rowLength = 0;
    int left = 0, top = 0;
    std::vector<unsigned char> bytes, unpacked, coded;
    std::vector<std::uint32_t> colours;
};

void TiffPicture::readPart(const PixelWindow& part, SampleSink& sink) const {
    TiffPicture narrow(*this); // what the rows of the part are like
    narrow.width = narrow.page.width = part.width;
    narrow.height = narrow.page.height = part.height;
    Rows rows(narrow, sink);
    Block block(*this, rows);
    const int blockWidth = block.size.blockWidth, blockHeight = block.size.blockHeight;
    const bool planes = separate && conversion != ByLibtiff;
    const std::size_t pixelLength = conversion == ByLibtiff ? 3 : std::size_t(numFileSamples) * rows.sampleLength;
    const std::size_t length = pixelLength * std::size_t(part.width);
    const int right = part.x + part.width, bottom = part.y + part.height;
    std::vector<unsigned char> band(length * std::size_t(std::min(blockHeight, part.height)));
    for (int first = part.y, last = 0; first < bottom; first = last) {
        const int top = first / blockHeight * blockHeight;
        last = std::min(bottom - top, blockHeight) + top;
        for (int sample = 0; sample < (planes ? numFileSamples : 1); ++sample)
            for (int from = part.x, to = 0; from < right; from = to) {
                const int left = from / blockWidth * blockWidth;
                to = std::min(right - left, blockWidth) + left;
                block.decode(left, top, sample);
                for (int row = first; row < last; ++row)
                    block.unpack(row, from, to - from, rows,
                                 &band[std::size_t(row - first) * length + std::size_t(from - part.x) * pixelLength +
                                       std::size_t(sample) * rows.sampleLength],
                                 planes ? std::size_t(numFileSamples) : 1);
            }
        for (int row = first; row < last; ++row)
            if (!rows.put(row - part.y, &band[std::size_t(row - first) * length]))
                return;
    }
}

void TiffPicture::readContiguous(std::uint64_t offset, SampleSink& sink) const {
    Rows rows(*this, sink);
    const std::size_t count = std::size_t(width) * std::size_t(numFileSamples);
    std::vector<unsigned char> packed(rows.packedLength(count)), samples(rows.fileRowLength);
    for (int row = 0; row < height; ++row, offset += packed.size()) {
        const ssize_t got = ::pread(TIFFFileno(tiff), packed.data(), packed.size(), static_cast<off_t>(offset));
        if (got != static_cast<ssize_t>(packed.size()))
            fail("row", row);
        const int bits = page.values.bits;
        const auto length = static_cast<tmsize_t>(count);
        if (TIFFIsByteSwapped(tiff) && bits == 16)
            TIFFSwabArrayOfShort(reinterpret_cast<std::uint16_t*>(packed.data()), length);
        else if (TIFFIsByteSwapped(tiff) && bits == 24)
            TIFFSwabArrayOfTriples(packed.data(), length);
        else if (TIFFIsByteSwapped(tiff) && bits == 32)
            TIFFSwabArrayOfLong(reinterpret_cast<std::uint32_t*>(packed.data()), length);
        else if (TIFFIsByteSwapped(tiff) && bits == 64)
            TIFFSwabArrayOfLong8(reinterpret_cast<std::uint64_t*>(packed.data()), length);
        unpackSamples(packed.data(), count, rows.type, samples.data(), 1);
        if (!rows.put(row, samples.data()))
            return;
    }
}

} // namespace vorlen
