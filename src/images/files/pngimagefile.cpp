#include "images/files/pngimagefile.h"

#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <png.h>

#include "images/files/believablesize.h"
#include "images/files/samplecoding.h"
#include "images/files/samplesink.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

/// libpng at work on a file. It leaves its operations by a jump, over which no object may have to be destroyed: those
/// that jump hold none.
class PngDecoder {
public:
    explicit PngDecoder(const std::string& filename)
        : __filename(filename), __file(std::fopen(filename.c_str(), "rb")) {
        if (__file != nullptr)
            __png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, keepPngError, dropPngWarning);
        if (__png != nullptr)
            __info = png_create_info_struct(__png);
        if (__info == nullptr || !readInfo()) {
            release(); // an object that is not made has no destructor
            fail();
        }
    }
    ~PngDecoder() { release(); }
    PngDecoder(const PngDecoder&) = delete;
    PngDecoder& operator=(const PngDecoder&) = delete;

    ImagePage page() const {
        ImagePage page;
        page.width = static_cast<int>(png_get_image_width(__png, __info));
        page.height = static_cast<int>(png_get_image_height(__png, __info));
        const int bits = png_get_bit_depth(__png, __info);
        page.values = {ValueType::Unsigned, bits};
        page.storage = storageOf(page.values);
        page.numSamples = png_get_channels(__png, __info);
        const int colours = png_get_color_type(__png, __info);
        if (colours == PNG_COLOR_TYPE_PALETTE) {
            page.colour = ImagePage::Palette;
            page.palette.resize(3u << bits);
            png_color* entries = nullptr;
            int number = 0;
            png_get_PLTE(__png, __info, &entries, &number);
            for (int i = 0; i < std::min(number, 1 << bits); ++i) {
                page.palette[std::size_t(i)] = static_cast<std::uint16_t>(entries[i].red << 8);
                page.palette[std::size_t(i) + (1u << bits)] = static_cast<std::uint16_t>(entries[i].green << 8);
                page.palette[std::size_t(i) + (2u << bits)] = static_cast<std::uint16_t>(entries[i].blue << 8);
            }
        } else if (colours & PNG_COLOR_MASK_COLOR) {
            page.colour = ImagePage::Rgb;
        }
        if (colours & PNG_COLOR_MASK_ALPHA)
            page.alpha = page.numSamples - 1;
        png_uint_32 x = 0, y = 0;
        int unit = 0;
        if (png_get_pHYs(__png, __info, &x, &y, &unit) == PNG_INFO_pHYs && x > 0 && y > 0) {
            if (unit == PNG_RESOLUTION_METER) {
                page.hasPixelSize = true;
                page.calibration.setLengthUnit(LengthUnit(-6));
                page.calibration.setPixelWidth(static_cast<float>(1e6 / x));
                page.calibration.setPixelHeight(static_cast<float>(1e6 / y));
            } else {
                page.calibration.setAspectRatio(static_cast<float>(double(x) / y));
            }
            page.calibration.compute();
        }
        return page;
    }

    bool isInterlaced() const { return png_get_interlace_type(__png, __info) != PNG_INTERLACE_NONE; }
    std::size_t rowLength() const { return png_get_rowbytes(__png, __info); }

    void readRow(unsigned char* row) {
        if (setjmp(__jump) != 0)
            fail();
        png_read_row(__png, row, nullptr);
    }

    /// All rows of an interlaced picture.
    void readRows(unsigned char** rows) {
        if (setjmp(__jump) != 0)
            fail();
        png_read_image(__png, rows);
    }

    [[noreturn]] void fail() const {
        throw FileReadError("void ImageReader::read(...)",
                            "Cannot read PNG" + (__error[0] != 0 ? " (" + std::string(__error) + ")" : ""), __filename);
    }

private:
    static void keepPngError(png_structp png, png_const_charp text) {
        auto* const self = static_cast<PngDecoder*>(png_get_error_ptr(png));
        std::snprintf(self->__error, sizeof self->__error, "%s", text);
        std::longjmp(self->__jump, 1); // NOLINT(cert-err52-cpp): what libpng asks for
    }
    static void dropPngWarning(png_structp, png_const_charp) {}

    void release() {
        png_destroy_read_struct(&__png, &__info, nullptr);
        if (__file != nullptr)
            std::fclose(__file);
        __file = nullptr;
    }

    bool readInfo() {
        if (setjmp(__jump) != 0)
            return false;
        png_init_io(__png, __file);
        png_set_user_limits(__png, 0x7fffffff, 0x7fffffff);
        png_set_chunk_malloc_max(__png, 1 << 24);
        png_read_info(__png, __info);
        if (std::endian::native == std::endian::little && png_get_bit_depth(__png, __info) == 16)
            png_set_swap(__png);
        if (png_get_interlace_type(__png, __info) != PNG_INTERLACE_NONE)
            png_set_interlace_handling(__png);
        png_start_read_image(__png);
        return true;
    }

    std::string __filename;
    std::FILE* __file;
    png_structp __png = nullptr;
    png_infop __info = nullptr;
    std::jmp_buf __jump;
    char __error[128] = {};
};

} // namespace

ImagePage PngImageFile::getPage(int i) {
    requirePage(i, 1);
    const ImagePage page = PngDecoder(getFilename()).page();
    requireBelievable(page, getFilename(), 1032);
    return page;
}

void PngImageFile::read(int i, SampleSink& sink) {
    const ImagePage page = getPage(i);
    PngDecoder decoder(getFilename());
    const std::size_t count = std::size_t(page.width) * std::size_t(page.numSamples);
    const std::size_t length = decoder.rowLength();
    const bool whole = decoder.isInterlaced();
    std::vector<unsigned char> packed(whole ? length * std::size_t(page.height) : length);
    std::vector<unsigned char> samples(page.rowLength());
    std::vector<unsigned char*> rows;
    if (whole) {
        rows.reserve(std::size_t(page.height));
        for (int row = 0; row < page.height; ++row)
            rows.push_back(&packed[std::size_t(row) * length]);
        decoder.readRows(rows.data());
    }
    for (int row = 0; row < page.height; ++row) {
        unsigned char* from = whole ? rows[std::size_t(row)] : packed.data();
        if (!whole)
            decoder.readRow(from);
        unpackSamples(from, count, page.values, samples.data(), 1);
        if (!sink.takeRow(row, samples.data()))
            return;
    }
}

} // namespace vorlen
