#include "images/files/imagewriter.h"

#include "files/fileinfo.h"
#include "images/files/tifffile.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vorlen {

namespace {

const char* const WRITE = "void ImageWriter::write(...)";

/// A new file beside the one that is to be written, which it replaces on commit() and never otherwise.
class FileBeside {
public:
    explicit FileBeside(const std::string& filename) : __name(filename), __target(filename) {
        std::error_code error;
        // A link stays a link: the file it leads to is replaced.
        if (std::filesystem::is_symlink(filename, error)) {
            const std::filesystem::path real = std::filesystem::canonical(filename, error);
            if (!error)
                __target = real.string();
        }
        struct stat old;
        const bool replaces = ::stat(__target.c_str(), &old) == 0;
        if (replaces && (!S_ISREG(old.st_mode) || ::access(__target.c_str(), W_OK) != 0))
            fail("Cannot open file for writing");
        for (int i = 0; __descriptor < 0; ++i) {
            __temporary = __target + ".new" + std::to_string(::getpid()) + "-" + std::to_string(i);
            __descriptor = ::open(__temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (__descriptor < 0 && (errno != EEXIST || i > 1000))
                fail("Cannot open file for writing");
        }
        if (replaces)
            (void)!::fchmod(__descriptor, old.st_mode & 07777);
    }

    ~FileBeside() {
        if (!__temporary.empty())
            ::unlink(__temporary.c_str());
    }

    /// Open for reading and writing; to be closed by the caller.
    int descriptor() const { return __descriptor; }

    void commit() {
        if (::rename(__temporary.c_str(), __target.c_str()) != 0)
            fail("Cannot write image data");
        __temporary.clear();
    }

private:
    [[noreturn]] void fail(const char* what) {
        // A constructor that throws runs no destructor, but up to here there is no file to remove either.
        throw FileWriteError(WRITE, what, __name);
    }

    std::string __name;
    std::string __target;
    std::string __temporary;
    int __descriptor = -1;
};

} // namespace

void ImageWriter::write(const Image& image, const std::string& filename, bool overwrite) const {
    if (!overwrite && (FileInfo::fileExists(filename) || ::access(filename.c_str(), F_OK) == 0))
        throw FileWriteError(WRITE, "File already exists", filename);
    if (image.getData() == nullptr || image.dataLength() == 0)
        throw FileWriteError(WRITE, "Cannot write an image without pixels", filename);
    FileBeside file(filename);
    TiffFile tiff(file.descriptor(), filename);
    if (!tiff.isOpen())
        throw FileWriteError(WRITE, "Cannot open file for writing", filename);
    writeTIFF(image, tiff.get());
    if (TIFFWriteDirectory(tiff.get()) != 1 || ::fsync(file.descriptor()) != 0)
        throw FileWriteError(WRITE, "Cannot write image data" + tiff.reason(), filename);
    tiff.close();
    file.commit();
}

void ImageWriter::writeTIFF(const Image& image, TIFF* tiff) const {
    writeTIFFHeader(image.getHeader(), tiff);
    writeTIFFPixels(image, tiff);
    if (image.getHeader().hasColormap())
        writeTIFFColormap(image.getHeader(), tiff);
}

void ImageWriter::writeTIFFHeader(const ImageHeader& header, TIFF* tiff) const {
    const int depth = header.getDepth();
    const bool indexed = depth == 8 && header.hasColormap();
    const int photometric = indexed ? PHOTOMETRIC_PALETTE : depth <= 16 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    const int samples = depth == 16 ? 1 : depth / 8;
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, depth == 16 ? 16 : 8);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, header.getHeight());
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, header.getWidth());
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    if (samples == 4) {
        const std::uint16_t unspecified = EXTRASAMPLE_UNSPECIFIED;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &unspecified);
    }
}

void ImageWriter::writeTIFFPixels(const Image& image, TIFF* tiff) const {
    const unsigned char* const* rows = image.getPixels();
    for (int i = 0; i < image.getHeight(); ++i) {
        // libtiff only reads from the row, although it takes a pointer to changeable bytes.
        if (TIFFWriteScanline(tiff, const_cast<unsigned char*>(rows[i]), static_cast<std::uint32_t>(i), 0) != 1)
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
