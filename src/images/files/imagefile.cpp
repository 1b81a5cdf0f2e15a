#include "images/files/imagefile.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "files/fileinfo.h"
#include "images/files/bmpimagefile.h"
#include "images/files/dicomimagefile.h"
#include "images/files/imgimagefile.h"
#include "images/files/jpeg2000imagefile.h"
#include "images/files/jpegimagefile.h"
#include "images/files/mrcimagefile.h"
#include "images/files/niftiimagefile.h"
#include "images/files/nrrdimagefile.h"
#include "images/files/pngimagefile.h"
#include "images/files/slideimagefile.h"
#include "images/files/tiffimagefile.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

/// The bytes that a file begins with, zeros behind its end.
struct Magic {
    bool startsWith(const char* text, std::size_t length, std::size_t at = 0) const {
        return std::memcmp(bytes + at, text, length) == 0;
    }

    char bytes[352] = {};
};

bool isTiff(const Magic& magic) {
    const char* const b = magic.bytes;
    const bool classic = (b[0] == 'I' && b[1] == 'I' && b[2] == '*') || (b[0] == 'M' && b[1] == 'M' && b[3] == '*');
    return classic || magic.startsWith("II+\0", 4) || magic.startsWith("MM\0+", 4);
}

} // namespace

std::unique_ptr<ImageFile> ImageFile::open(const std::string& filename) {
    std::error_code error;
    std::ifstream file;
    // A pipe would hang and a directory opens without being readable.
    if (std::filesystem::is_regular_file(filename, error))
        file.open(filename, std::ios::binary);
    if (!file.is_open())
        throw FileReadError("void ImageReader::readHeader(ImageHeader&,const string&)", "Cannot open file for reading",
                            filename);
    Magic magic;
    file.read(magic.bytes, sizeof magic.bytes);
    file.close();
    const std::string suffix = FileInfo::suffixName(filename);
    // Before TIFF, whose first bytes may stand in the preamble of a file that is both.
    if (magic.startsWith("DICM", 4, 128))
        return std::make_unique<DicomImageFile>(filename);
    if (SlideImageFile::isSlide(filename, isTiff(magic)))
        return std::make_unique<SlideImageFile>(filename);
    if (isTiff(magic))
        return std::make_unique<TiffImageFile>(filename);
    if (magic.startsWith("\x89PNG\r\n\x1a\n", 8))
        return std::make_unique<PngImageFile>(filename);
    if (magic.startsWith("\xff\xd8\xff", 3))
        return std::make_unique<JpegImageFile>(filename);
    if (magic.startsWith("\0\0\0\x0cjP  \r\n\x87\n", 12) || magic.startsWith("\xff\x4f\xff\x51", 4))
        return std::make_unique<Jpeg2000ImageFile>(filename);
    if (magic.startsWith("BM", 2) && magic.startsWith("\0\0\0\0", 4, 6))
        return std::make_unique<BmpImageFile>(filename);
    if (magic.startsWith("NRRD000", 7))
        return std::make_unique<NrrdImageFile>(filename);
    if (magic.startsWith("MAP", 3, 208) && (magic.bytes[211] == ' ' || magic.bytes[211] == '\0'))
        return std::make_unique<MrcImageFile>(filename);
    const bool mayBeNifti = magic.startsWith("\x1f\x8b", 2) || magic.startsWith("n+", 2, 344) ||
                            magic.startsWith("ni", 2, 344) || magic.startsWith("n+2", 3, 4) ||
                            magic.startsWith("ni2", 3, 4);
    if (mayBeNifti && NiftiImageFile::isNifti(filename))
        return std::make_unique<NiftiImageFile>(filename);
    if (magic.startsWith("0000", 4) && (suffix == "img" || suffix == "IMG"))
        return std::make_unique<ImgImageFile>(filename);
    throw FileFormatError("void ImageReader::readHeader(ImageHeader&,const string&) const",
                          "Unrecognized image file format", filename);
}

std::vector<PictureLevel> ImageFile::getLevels(int) {
    return {};
}

void ImageFile::readPart(int, int level, const PixelWindow& part, SampleSink&) {
    requirePart({}, level, part);
}

void ImageFile::requireWhole(int) {
}

StackLayout ImageFile::getLayout() {
    StackLayout layout;
    layout.numPlanes = getNumPages();
    layout.planes.resize(static_cast<std::size_t>(layout.numPlanes));
    for (int i = 0; i < layout.numPlanes; ++i)
        layout.planes[static_cast<std::size_t>(i)].page = i;
    layout.channelNames.resize(1);
    if (layout.numPlanes > 0) {
        const ImagePage first = getPage(0);
        if (first.hasPixelSize) {
            layout.unit = first.calibration.getLengthUnit();
            layout.pixelWidth = double(first.calibration.getPixelWidth());
            layout.pixelHeight = double(first.calibration.getPixelHeight());
        }
    }
    return layout;
}

void ImageFile::requirePart(const std::vector<PictureLevel>& levels, int level, const PixelWindow& part) const {
    if (level < 0 || std::size_t(level) >= levels.size())
        throw RangeError("ImageFile::readPart(...)", "There is no level " + std::to_string(level + 1) + " in " +
                                                         __filename + ", which has " + std::to_string(levels.size()));
    const PictureLevel& whole = levels[std::size_t(level)];
    if (part.x < 0 || part.y < 0 || part.width < 1 || part.height < 1 || part.x >= whole.width ||
        part.y >= whole.height || part.width > whole.width - part.x || part.height > whole.height - part.y)
        throw RangeError("ImageFile::readPart(...)", "The part does not lie within the picture of " + __filename);
}

void ImageFile::requirePage(int i, int numPages) const {
    if (i < 0 || i >= numPages)
        throw RangeError("ImageFile::getPage(int)", "There is no page " + std::to_string(i + 1) + " in " + __filename +
                                                        ", which has " + std::to_string(numPages));
}

} // namespace vorlen
