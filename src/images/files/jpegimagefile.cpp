#include "images/files/jpegimagefile.h"

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include <jpeglib.h>

#include "images/files/believablesize.h"
#include "images/files/colourmodels.h"
#include "images/files/orientedrows.h"
#include "images/files/samplesink.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

/// The orientation that Exif gives: the tag 274 in the first directory of the TIFF header behind "Exif". 1 without one.
int exifOrientation(const unsigned char* bytes, std::size_t length) {
    if (length < 14 || std::memcmp(bytes, "Exif\0\0", 6) != 0)
        return 1;
    bytes += 6;
    length -= 6;
    const bool little = bytes[0] == 'I';
    const auto word = [&](std::size_t at) {
        return std::size_t(bytes[at + (little ? 0 : 1)]) | std::size_t(bytes[at + (little ? 1 : 0)]) << 8;
    };
    const auto doubleWord = [&](std::size_t at) {
        return little ? word(at) | word(at + 2) << 16 : word(at + 2) | word(at) << 16;
    };
    const std::size_t directory = doubleWord(4);
    if (directory > length || length - directory < 2)
        return 1;
    const std::size_t number = word(directory);
    for (std::size_t i = 0; i < number; ++i) {
        const std::size_t entry = directory + 2 + 12 * i;
        if (entry + 12 > length)
            return 1;
        if (word(entry) == 274)
            return word(entry + 8) >= 1 && word(entry + 8) <= 8 ? int(word(entry + 8)) : 1;
    }
    return 1;
}

/// libjpeg at work on a file. It leaves its operations by a jump, over which no object may have to be destroyed: those
/// that jump hold none.
class JpegDecoder {
public:
    explicit JpegDecoder(const std::string& filename)
        : __filename(filename), __file(std::fopen(filename.c_str(), "rb")) {
        __jpeg.err = jpeg_std_error(&__errors);
        __jpeg.client_data = this;
        __errors.error_exit = leaveJpeg;
        __errors.emit_message = noteJpegWarning;
        if (__file == nullptr || !readHeader()) {
            close();
            fail();
        }
    }
    ~JpegDecoder() { close(); }
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;

    /// As the picture stands in the file, and its orientation.
    ImagePage page(int& orientation) const {
        ImagePage page;
        page.width = static_cast<int>(__jpeg.image_width);
        page.height = static_cast<int>(__jpeg.image_height);
        const bool grey = __jpeg.out_color_space == JCS_GRAYSCALE;
        page.colour = grey ? ImagePage::Grey : ImagePage::Rgb;
        page.numSamples = grey ? 1 : 3;
        orientation = 1;
        for (jpeg_saved_marker_ptr marker = __jpeg.marker_list; marker != nullptr; marker = marker->next)
            if (marker->marker == JPEG_APP0 + 1 && orientation == 1)
                orientation = exifOrientation(marker->data, marker->data_length);
        const double length = __jpeg.density_unit == 1 ? 25400 : __jpeg.density_unit == 2 ? 10000 : 0;
        if (__jpeg.saw_JFIF_marker && __jpeg.X_density > 0 && __jpeg.Y_density > 0) {
            double width = length / __jpeg.X_density, height = length / __jpeg.Y_density;
            if (orientation > 4)
                std::swap(width, height);
            page.hasPixelSize = length > 0;
            if (length > 0) {
                page.calibration.setLengthUnit(LengthUnit(-6));
                page.calibration.setPixelWidth(static_cast<float>(width));
                page.calibration.setPixelHeight(static_cast<float>(height));
            }
            page.calibration.compute();
        }
        return page;
    }

    /// Samples of a pixel as libjpeg gives them: 4 of inks.
    int numSamples() const { return __jpeg.out_color_components; }
    bool areInksInverted() const { return __jpeg.saw_Adobe_marker != 0; }

    void start() {
        if (setjmp(__jump) != 0)
            fail();
        jpeg_start_decompress(&__jpeg);
    }

    void readRow(unsigned char* row) {
        if (setjmp(__jump) != 0)
            fail();
        jpeg_read_scanlines(&__jpeg, &row, 1);
        // It would go on with grey.
        if (__jpeg.err->num_warnings > 0)
            fail();
    }

    [[noreturn]] void fail() const {
        throw FileReadError("void ImageReader::read(...)",
                            "Cannot read JPEG" + (__error[0] != 0 ? " (" + std::string(__error) + ")" : ""),
                            __filename);
    }

private:
    static void leaveJpeg(j_common_ptr jpeg) {
        auto* const self = static_cast<JpegDecoder*>(jpeg->client_data);
        self->keep(jpeg);
        std::longjmp(self->__jump, 1); // NOLINT(cert-err52-cpp): what libjpeg asks for
    }
    static void noteJpegWarning(j_common_ptr jpeg, int level) {
        if (level >= 0)
            return;
        ++jpeg->err->num_warnings;
        static_cast<JpegDecoder*>(jpeg->client_data)->keep(jpeg);
    }
    void keep(j_common_ptr jpeg) {
        char text[JMSG_LENGTH_MAX];
        jpeg->err->format_message(jpeg, text);
        if (__error[0] == 0)
            std::snprintf(__error, sizeof __error, "%.120s", text);
    }

    bool readHeader() {
        if (setjmp(__jump) != 0)
            return false;
        jpeg_create_decompress(&__jpeg);
        __created = true;
        jpeg_stdio_src(&__jpeg, __file);
        jpeg_save_markers(&__jpeg, JPEG_APP0 + 1, 0xffff);
        jpeg_read_header(&__jpeg, TRUE);
        if (__jpeg.jpeg_color_space == JCS_GRAYSCALE)
            __jpeg.out_color_space = JCS_GRAYSCALE;
        else if (__jpeg.jpeg_color_space == JCS_CMYK || __jpeg.jpeg_color_space == JCS_YCCK)
            __jpeg.out_color_space = JCS_CMYK;
        else if (__jpeg.num_components == 3)
            __jpeg.out_color_space = JCS_RGB;
        jpeg_calc_output_dimensions(&__jpeg);
        if (__jpeg.out_color_space == JCS_UNKNOWN) {
            std::snprintf(__error, sizeof __error, "%d components without a colour", __jpeg.num_components);
            return false;
        }
        return true;
    }

    void close() {
        if (__created)
            jpeg_destroy_decompress(&__jpeg);
        if (__file != nullptr)
            std::fclose(__file);
        __created = false;
        __file = nullptr;
    }

    std::string __filename;
    std::FILE* __file;
    jpeg_decompress_struct __jpeg{};
    jpeg_error_mgr __errors{};
    std::jmp_buf __jump;
    bool __created = false;
    char __error[128] = {};
};

} // namespace

ImagePage JpegImageFile::getPage(int i) {
    requirePage(i, 1);
    int orientation = 1;
    ImagePage page = JpegDecoder(getFilename()).page(orientation);
    // A block of 8 by 8 pixels takes 2 bits at the least, and those of end-of-block runs less.
    requireBelievable(page, getFilename(), 4096);
    if (orientation > 4)
        std::swap(page.width, page.height);
    return page;
}

void JpegImageFile::read(int i, SampleSink& sink) {
    getPage(i); // refuses what cannot be believed
    JpegDecoder decoder(getFilename());
    int orientation = 1;
    const ImagePage page = decoder.page(orientation);
    OrientedRows out(sink, orientation, page.width, page.height, std::size_t(page.numSamples));
    const auto width = std::size_t(page.width);
    std::vector<unsigned char> row(width * std::size_t(decoder.numSamples())), colours(3 * width);
    decoder.start();
    for (int k = 0; k < page.height; ++k) {
        decoder.readRow(row.data());
        if (decoder.numSamples() == 4) {
            if (decoder.areInksInverted())
                for (unsigned char& ink : row)
                    ink = static_cast<unsigned char>(255 - ink);
            inksToRgb(row.data(), width, 4, SampleStorage::U8, colours.data());
        }
        if (!out.put(k, decoder.numSamples() == 4 ? colours.data() : row.data()))
            return;
    }
}

} // namespace vorlen
