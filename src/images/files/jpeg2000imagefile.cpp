#include "images/files/jpeg2000imagefile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <openjpeg.h>

#include "images/files/believablesize.h"
#include "images/files/samplecoding.h"
#include "images/files/samplesink.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr const char* place = "void ImageReader::read(...)";

/// What the boxes around a codestream tell that its header does not (ISO/IEC 15444-1, annex I).
struct Boxes {
    enum Colour : std::uint32_t { Inks = 12, Lab = 14, Srgb = 16, Grey = 17, Ycc = 18 };

    std::uint32_t colour = 0; // 0 where the file does not name one
    int paletteColumns = 0;   // 0 without a palette
    int paletteBits = 8;
    int alpha = -1;
    bool alphaAssociated = false;
    double pixelsPerMeterX = 0;
    double pixelsPerMeterY = 0;
};

using Bytes = std::vector<unsigned char>;

std::uint32_t number(const Bytes& bytes, std::size_t at, int length) {
    std::uint32_t value = 0;
    for (int i = 0; i < length; ++i)
        value = value << 8 | (at + std::size_t(i) < bytes.size() ? bytes[at + std::size_t(i)] : 0u);
    return value;
}

double perMeter(const Bytes& bytes, std::size_t at, std::size_t exponentAt) {
    const double denominator = number(bytes, at + 2, 2);
    const auto exponent = static_cast<signed char>(number(bytes, exponentAt, 1));
    return denominator > 0 ? number(bytes, at, 2) / denominator * std::pow(10.0, exponent) : 0;
}

void readChannels(const Bytes& bytes, std::size_t at, Boxes& boxes) {
    const std::uint32_t count = number(bytes, at, 2);
    for (std::uint32_t i = 0; i < count && at + 2 + 6 * std::size_t(i) + 6 <= bytes.size(); ++i) {
        const std::size_t entry = at + 2 + 6 * std::size_t(i);
        const std::uint32_t type = number(bytes, entry + 2, 2);
        if (boxes.alpha < 0 && (type == 1 || type == 2)) {
            boxes.alpha = static_cast<int>(number(bytes, entry, 2));
            boxes.alphaAssociated = type == 2;
        }
    }
}

/// Goes through the boxes from one place to another, into those that hold others.
void walk(const Bytes& bytes, std::size_t from, std::size_t to, Boxes& boxes) {
    while (from + 8 <= to) {
        const std::size_t length = number(bytes, from, 4);
        const std::string type(reinterpret_cast<const char*>(&bytes[from + 4]), 4);
        const std::size_t end = length == 0 ? to : from + length;
        const std::size_t content = from + 8;
        if (end > to || end < content)
            return;
        if (type == "res ") {
            walk(bytes, content, end, boxes);
        } else if (type == "resc") {
            boxes.pixelsPerMeterY = perMeter(bytes, content, content + 8);
            boxes.pixelsPerMeterX = perMeter(bytes, content + 4, content + 9);
        } else if (type == "colr" && boxes.colour == 0 && number(bytes, content, 1) == 1) {
            boxes.colour = number(bytes, content + 3, 4);
        } else if (type == "pclr") {
            boxes.paletteColumns = static_cast<int>(number(bytes, content + 2, 1));
            boxes.paletteBits = static_cast<int>(number(bytes, content + 3, 1) & 0x7f) + 1;
        } else if (type == "cdef") {
            readChannels(bytes, content, boxes);
        }
        from = end;
    }
}

/// Refuses a codestream with more tiles than its file can hold, for all of which OpenJPEG would make room at the header:
/// a tile takes 14 bytes at the least.
void requireBelievableTiles(std::istream& codestream, const std::string& filename) {
    Bytes size(42);
    codestream.read(reinterpret_cast<char*>(size.data()), std::streamsize(size.size()));
    if (!codestream || number(size, 0, 4) != 0xff4fff51)
        throw FileReadError(place, "Cannot read JPEG 2000 (no codestream)", filename);
    std::uint64_t tiles = 1;
    for (const std::size_t axis : {std::size_t(0), std::size_t(4)}) {
        const std::uint64_t to = number(size, 8 + axis, 4), origin = number(size, 32 + axis, 4);
        const std::uint64_t step = std::max<std::uint64_t>(number(size, 24 + axis, 4), 1);
        tiles *= to > origin ? (to - origin + step - 1) / step : 1;
    }
    const std::uint64_t components = number(size, 40, 2), length = lengthOfFile(filename);
    if (tiles > 0xffff || 14 * tiles > length || (tiles * components > 0xffff && 16 * tiles * components > length))
        throw FileFormatError(place, "Cannot read JPEG 2000: it has more tiles than its length can hold", filename);
}

/// The boxes of the file's header; those of a bare codestream, of which there are none. Looks at the codestream too.
Boxes boxesOf(const std::string& filename, bool bare) {
    Boxes boxes;
    std::ifstream file(filename, std::ios::binary);
    if (bare) {
        requireBelievableTiles(file, filename);
        return boxes;
    }
    Bytes head(8);
    constexpr std::size_t longestHeader = std::size_t(1) << 20;
    while (file.read(reinterpret_cast<char*>(head.data()), 8)) {
        const std::size_t length = number(head, 0, 4);
        const std::string type(reinterpret_cast<const char*>(&head[4]), 4);
        if (type == "jp2c") {
            if (length == 1)
                file.seekg(8, std::ios::cur); // its length, in 64 bits
            requireBelievableTiles(file, filename);
            return boxes;
        }
        if (length < 8)
            break;
        if (type != "jp2h") {
            file.seekg(static_cast<std::streamoff>(length - 8), std::ios::cur);
            continue;
        }
        Bytes content(std::min(length - 8, longestHeader));
        file.read(reinterpret_cast<char*>(content.data()), static_cast<std::streamsize>(content.size()));
        content.resize(static_cast<std::size_t>(file.gcount()));
        walk(content, 0, content.size(), boxes);
        file.seekg(static_cast<std::streamoff>(length - 8 - content.size()), std::ios::cur);
    }
    throw FileReadError(place, "Cannot read JPEG 2000 (no codestream)", filename);
}

/// OpenJPEG at work on a file.
class Jpeg2000Decoder {
public:
    explicit Jpeg2000Decoder(const std::string& filename) : __filename(filename) {
        char magic[4] = {};
        std::ifstream(filename, std::ios::binary).read(magic, 4);
        const bool bare = std::memcmp(magic, "\xff\x4f\xff\x51", 4) == 0;
        __boxes = boxesOf(filename, bare);
        __stream.reset(opj_stream_create_default_file_stream(filename.c_str(), OPJ_TRUE));
        __codec.reset(opj_create_decompress(bare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2));
        if (!__stream || !__codec)
            fail();
        opj_set_error_handler(__codec.get(), keepError, this);
        opj_set_warning_handler(__codec.get(), dropMessage, this);
        opj_set_info_handler(__codec.get(), dropMessage, this);
        opj_dparameters_t parameters;
        opj_set_default_decoder_parameters(&parameters);
        opj_image_t* image = nullptr;
        const bool read = opj_setup_decoder(__codec.get(), &parameters) != OPJ_FALSE &&
                          opj_read_header(__stream.get(), __codec.get(), &image) != OPJ_FALSE;
        __image.reset(image);
        if (!read || image == nullptr || image->numcomps == 0)
            fail();
    }

    /// What the header promises; refuses what is left out.
    ImagePage page() const {
        const opj_image_t& image = *__image;
        const opj_image_comp_t& first = image.comps[0];
        const bool palette = __boxes.paletteColumns > 0;
        if (__boxes.colour == Boxes::Inks || __boxes.colour == Boxes::Lab)
            refuse("its colours are inks or L*a*b*: save it as red, green, blue");
        for (OPJ_UINT32 k = 0; k < image.numcomps; ++k)
            if (image.comps[k].prec != first.prec || image.comps[k].sgnd != first.sgnd)
                refuse("its components are of different depths");
        if (first.prec < 1 || first.prec > 31)
            refuse("its samples have " + std::to_string(first.prec) + " bits");
        if (image.x1 <= image.x0 || image.y1 <= image.y0 || image.numcomps > 0xffff)
            refuse("its size is damaged");
        ImagePage page;
        page.width = sizeOf(image.x0, image.x1, first.dx);
        page.height = sizeOf(image.y0, image.y1, first.dy);
        page.values = {palette || first.sgnd == 0 ? ValueType::Unsigned : ValueType::Signed,
                       palette ? __boxes.paletteBits : static_cast<int>(first.prec)};
        page.storage = storageOf(page.values);
        page.numSamples = palette ? __boxes.paletteColumns : static_cast<int>(image.numcomps);
        const bool named = __boxes.colour == Boxes::Srgb || __boxes.colour == Boxes::Ycc;
        const bool bare = __boxes.colour == 0 && page.numSamples == 3;
        page.colour = page.numSamples >= 3 && (named || bare || palette) ? ImagePage::Rgb : ImagePage::Grey;
        if (__boxes.alpha > 0 && __boxes.alpha < page.numSamples) {
            page.alpha = __boxes.alpha;
            page.alphaAssociated = __boxes.alphaAssociated;
        }
        const double x = __boxes.pixelsPerMeterX, y = __boxes.pixelsPerMeterY;
        if (x > 0 && y > 0 && std::isfinite(1e6 / x) && std::isfinite(1e6 / y)) {
            page.hasPixelSize = true;
            page.calibration.setLengthUnit(LengthUnit(-6));
            page.calibration.setPixelWidth(static_cast<float>(1e6 / x));
            page.calibration.setPixelHeight(static_cast<float>(1e6 / y));
            page.calibration.compute();
        }
        return page;
    }

    void decode() {
        opj_codec_set_threads(__codec.get(), std::clamp(int(std::thread::hardware_concurrency()), 1, 4));
        if (opj_decode(__codec.get(), __stream.get(), __image.get()) == OPJ_FALSE ||
            opj_end_decompress(__codec.get(), __stream.get()) == OPJ_FALSE)
            fail();
        for (OPJ_UINT32 k = 0; k < __image->numcomps; ++k)
            if (__image->comps[k].data == nullptr)
                fail();
    }

    /// The samples of a row, interleaved; luminance with chrominance becomes red, green, blue.
    void row(int i, const ImagePage& page, std::vector<OPJ_INT32>& samples) const {
        if (int(__image->numcomps) != page.numSamples)
            fail();
        const auto step = std::size_t(page.numSamples);
        for (std::size_t k = 0; k < step; ++k) {
            const opj_image_comp_t& component = __image->comps[k];
            // Chrominance may have a sample for several pixels.
            const OPJ_UINT32 acrossX = std::max(component.dx / std::max(__image->comps[0].dx, 1u), 1u);
            const OPJ_UINT32 acrossY = std::max(component.dy / std::max(__image->comps[0].dy, 1u), 1u);
            if (component.w == 0 || component.h == 0)
                fail();
            const OPJ_UINT32 down = std::min(OPJ_UINT32(i) / acrossY, component.h - 1);
            const OPJ_INT32* const from = component.data + std::size_t(down) * component.w;
            for (OPJ_UINT32 j = 0; j < OPJ_UINT32(page.width); ++j)
                samples[j * step + k] = from[std::min(j / acrossX, component.w - 1)];
        }
        if (__boxes.colour == Boxes::Ycc && page.numSamples >= 3)
            toColours(page, samples);
    }

    [[noreturn]] void fail() const {
        throw FileReadError(place, "Cannot read JPEG 2000" + (__error.empty() ? "" : " (" + __error + ")"), __filename);
    }

private:
    static int sizeOf(OPJ_UINT32 from, OPJ_UINT32 to, OPJ_UINT32 step) {
        const std::uint64_t s = std::max(step, 1u);
        return static_cast<int>(
            std::min<std::uint64_t>((to + s - 1) / s - (from + s - 1) / s, std::numeric_limits<int>::max()));
    }

    /// By the numbers of ITU-R BT.601, as sYCC has them.
    static void toColours(const ImagePage& page, std::vector<OPJ_INT32>& samples) {
        const double middle = std::ldexp(1.0, page.values.bits - 1), most = 2 * middle - 1;
        const bool isSigned = page.values.kind == ValueType::Signed;
        const auto step = std::size_t(page.numSamples);
        for (std::size_t j = 0; j < samples.size(); j += step) {
            const double y = samples[j];
            const double blue = samples[j + 1] - (isSigned ? 0 : middle),
                         red = samples[j + 2] - (isSigned ? 0 : middle);
            const double rgb[] = {y + 1.402 * red, y - 0.344136 * blue - 0.714136 * red, y + 1.772 * blue};
            for (std::size_t k = 0; k < 3; ++k)
                samples[j + k] = static_cast<OPJ_INT32>(
                    std::lround(std::clamp(rgb[k], isSigned ? -middle : 0, isSigned ? middle - 1 : most)));
        }
    }

    static void keepError(const char* text, void* self) {
        std::string& error = static_cast<Jpeg2000Decoder*>(self)->__error;
        if (error.empty())
            error = std::string(text, std::min<std::size_t>(std::strcspn(text, "\r\n"), 120));
    }
    static void dropMessage(const char*, void*) {}

    [[noreturn]] void refuse(const std::string& why) const {
        throw FileFormatError(place, "Cannot read JPEG 2000: " + why, __filename);
    }

    struct Release {
        void operator()(opj_image_t* image) const { opj_image_destroy(image); }
        void operator()(opj_codec_t* codec) const { opj_destroy_codec(codec); }
    };
    struct ReleaseStream {
        void operator()(opj_stream_t* stream) const { opj_stream_destroy(stream); }
    };

    std::string __filename;
    Boxes __boxes;
    std::string __error;
    std::unique_ptr<opj_image_t, Release> __image;
    std::unique_ptr<opj_stream_t, ReleaseStream> __stream;
    std::unique_ptr<opj_codec_t, Release> __codec;
};

void requireBelievableDecoded(const ImagePage& page, const std::string& filename) {
    ImagePage decoded = page;
    decoded.storage = SampleStorage::I32;
    // A packet without anything in it is a byte, and stands for up to a precinct of any size.
    requireBelievable(decoded, filename, std::uint64_t(1) << 16);
}

} // namespace

ImagePage Jpeg2000ImageFile::getPage(int i) {
    requirePage(i, 1);
    const ImagePage page = Jpeg2000Decoder(getFilename()).page();
    requireBelievableDecoded(page, getFilename());
    return page;
}

void Jpeg2000ImageFile::read(int i, SampleSink& sink) {
    requirePage(i, 1);
    Jpeg2000Decoder decoder(getFilename());
    const ImagePage page = decoder.page();
    requireBelievableDecoded(page, getFilename());
    decoder.decode();
    std::vector<OPJ_INT32> samples(std::size_t(page.width) * std::size_t(page.numSamples));
    std::vector<unsigned char> row(page.rowLength());
    for (int k = 0; k < page.height; ++k) {
        decoder.row(k, page, samples);
        withSampleType(page.storage, [&](auto type) {
            using Sample = decltype(type);
            for (std::size_t j = 0; j < samples.size(); ++j) {
                const auto sample = static_cast<Sample>(samples[j]);
                std::memcpy(&row[j * sizeof(Sample)], &sample, sizeof(Sample));
            }
        });
        if (!sink.takeRow(k, row.data()))
            return;
    }
}

} // namespace vorlen
