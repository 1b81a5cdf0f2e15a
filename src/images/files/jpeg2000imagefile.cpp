#include "images/files/jpeg2000imagefile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <vector>

#include <openjpeg.h>

#include "images/files/believablesize.h"
#include "images/files/colourmodels.h"
#include "images/files/samplecoding.h"
#include "images/files/samplesink.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr char where[] = "void ImageReader::read(...)";

/// What the boxes of a JP2 file tell that OpenJPEG keeps for itself: the resolution, and whether there is a palette.
class HeaderBoxes {
public:
    explicit HeaderBoxes(const std::string& filename) : __file(filename, std::ios::binary) {
        __file.seekg(0, std::ios::end);
        search(0, std::uint64_t(std::max<std::streamoff>(0, __file.tellg())));
    }

    bool hasPalette() const { return __palette; }
    bool isKnown() const { return __across > 0 && __down > 0; }
    /// Pixels a metre.
    double across() const { return __across; }
    double down() const { return __down; }

private:
    std::uint64_t number(std::uint64_t at, int numBytes) {
        unsigned char bytes[8] = {};
        __file.clear();
        __file.seekg(std::streamoff(at));
        __file.read(reinterpret_cast<char*>(bytes), numBytes);
        std::uint64_t result = 0;
        for (int i = 0; i < numBytes; ++i)
            result = result << 8 | bytes[i];
        return result;
    }

    /// The boxes from one place in the file to another; those of the header and of the resolution hold boxes.
    void search(std::uint64_t from, std::uint64_t to) {
        for (int i = 0; i < 1000 && from < to && to - from >= 8; ++i) {
            std::uint64_t length = number(from, 4), head = 8;
            const std::uint64_t kind = number(from + 4, 4);
            if (length == 1) {
                length = number(from + 8, 8);
                head = 16;
            }
            if (length == 0)
                length = to - from;
            if (length < head || length > to - from)
                return;
            if (kind == headerBox || kind == resolutionBox)
                search(from + head, from + length);
            else if ((kind == takenBox || (kind == shownBox && !isKnown())) && length >= head + 10)
                take(from + head);
            __palette = __palette || kind == paletteBox;
            if (kind == codestreamBox)
                return;
            from += length;
        }
    }

    void take(std::uint64_t at) {
        const auto value = [&](std::uint64_t fraction, std::uint64_t exponent) {
            const auto denominator = double(number(at + fraction + 2, 2));
            const auto power = static_cast<std::int8_t>(number(at + exponent, 1));
            return denominator > 0 ? double(number(at + fraction, 2)) / denominator * std::pow(10.0, power) : 0.0;
        };
        __down = value(0, 8);
        __across = value(4, 9);
    }

    static constexpr std::uint64_t headerBox = 0x6a703268;     // "jp2h"
    static constexpr std::uint64_t resolutionBox = 0x72657320; // "res "
    static constexpr std::uint64_t takenBox = 0x72657363;      // "resc"
    static constexpr std::uint64_t shownBox = 0x72657364;      // "resd"
    static constexpr std::uint64_t paletteBox = 0x70636c72;    // "pclr"
    static constexpr std::uint64_t codestreamBox = 0x6a703263; // "jp2c"

    std::ifstream __file;
    double __across = 0, __down = 0;
    bool __palette = false;
};

// Codec and stream are both void* to OpenJPEG.
struct CodecDeleter {
    void operator()(opj_codec_t* codec) const { opj_destroy_codec(codec); }
};
struct StreamDeleter {
    void operator()(opj_stream_t* stream) const { opj_stream_destroy(stream); }
};
struct ImageDeleter {
    void operator()(opj_image_t* image) const { opj_image_destroy(image); }
};

/// OpenJPEG at work on a file, whose header has been read.
class Jpeg2000Decoder {
public:
    explicit Jpeg2000Decoder(const std::string& filename, int numThreads = 0) : __filename(filename) {
        const bool bare = [&filename] {
            std::ifstream file(filename, std::ios::binary);
            return file.get() == 0xff;
        }();
        __codec.reset(opj_create_decompress(bare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2));
        __stream.reset(opj_stream_create_default_file_stream(filename.c_str(), OPJ_TRUE));
        if (__codec == nullptr || __stream == nullptr)
            fail();
        opj_set_error_handler(__codec.get(), keepError, this);
        opj_dparameters_t parameters;
        opj_set_default_decoder_parameters(&parameters);
        opj_image_t* image = nullptr;
        if (!opj_setup_decoder(__codec.get(), &parameters) ||
            (numThreads > 1 && !opj_codec_set_threads(__codec.get(), numThreads)) ||
            !opj_read_header(__stream.get(), __codec.get(), &image)) {
            __image.reset(image);
            fail();
        }
        __image.reset(image);
    }

    /// As the header tells it.
    ImagePage page() const {
        ImagePage page;
        const opj_image_t& image = *__image;
        if (image.numcomps < 1 || image.x1 <= image.x0 || image.y1 <= image.y0 || image.x1 - image.x0 > 0x7fffffffu ||
            image.y1 - image.y0 > 0x7fffffffu)
            fail();
        const opj_image_comp_t& first = image.comps[0];
        page.width = static_cast<int>(image.x1 - image.x0);
        page.height = static_cast<int>(image.y1 - image.y0);
        page.numSamples = static_cast<int>(image.numcomps);
        page.values = {first.sgnd != 0 ? ValueType::Signed : ValueType::Unsigned, static_cast<int>(first.prec)};
        for (OPJ_UINT32 k = 0; k < image.numcomps; ++k) {
            const opj_image_comp_t& component = image.comps[k];
            if (component.prec != first.prec || component.sgnd != first.sgnd || component.dx == 0 || component.dy == 0)
                refuse("JPEG 2000 with components of different types");
            if (component.alpha != 0 && page.alpha < 0) {
                page.alpha = static_cast<int>(k);
                page.alphaAssociated = component.alpha == 2;
            }
        }
        if (page.values.bits < 1 || page.values.bits > 31)
            refuse("JPEG 2000 of " + std::to_string(page.values.bits) + " bits");
        page.storage = storageOf(page.values);
        const int colours = page.numSamples - (page.alpha < 0 ? 0 : 1);
        if (isInk()) {
            if (colours < 4 || page.values.kind != ValueType::Unsigned ||
                (page.values.bits != 8 && page.values.bits != 16))
                refuse("JPEG 2000 of inks of this type");
            page.numSamples = 3;
            page.alpha = -1;
        }
        const bool named = image.color_space == OPJ_CLRSPC_SRGB || isDifference() || isInk();
        if ((named && colours >= 3) || (image.color_space <= OPJ_CLRSPC_UNSPECIFIED && colours == 3))
            page.colour = ImagePage::Rgb;
        return page;
    }

    void decode() {
        if (!opj_decode(__codec.get(), __stream.get(), __image.get()) ||
            !opj_end_decompress(__codec.get(), __stream.get()))
            fail();
        for (OPJ_UINT32 k = 0; k < __image->numcomps; ++k) {
            const opj_image_comp_t& component = __image->comps[k];
            if (component.data == nullptr || component.w == 0 || component.h == 0)
                fail();
        }
    }

    /// The samples of a row, as they were coded, in order of the components.
    void row(int i, std::int32_t* samples) const {
        const auto numComponents = std::size_t(__image->numcomps);
        const int width = static_cast<int>(__image->x1 - __image->x0);
        for (std::size_t k = 0; k < numComponents; ++k) {
            const opj_image_comp_t& component = __image->comps[k];
            const std::size_t line =
                std::min<std::size_t>(component.h - 1, place(unsigned(i), __image->y0, component.dy));
            const OPJ_INT32* const from = component.data + line * component.w;
            for (int j = 0; j < width; ++j)
                samples[std::size_t(j) * numComponents + k] =
                    from[std::min<std::size_t>(component.w - 1, place(unsigned(j), __image->x0, component.dx))];
        }
    }

    bool isInk() const { return __image->color_space == OPJ_CLRSPC_CMYK; }
    bool isDifference() const {
        return __image->numcomps >= 3 &&
               (__image->color_space == OPJ_CLRSPC_SYCC || __image->color_space == OPJ_CLRSPC_EYCC);
    }
    int numComponents() const { return static_cast<int>(__image->numcomps); }

    [[noreturn]] void fail() const {
        throw FileReadError(where, "Cannot read JPEG 2000" + (__error.empty() ? "" : " (" + __error + ")"), __filename);
    }
    [[noreturn]] void refuse(const std::string& what) const { throw FileFormatError(where, what, __filename); }

private:
    /// Where in a component of every step-th column or row the one lies that is i behind the first of the picture.
    static std::size_t place(std::size_t i, std::size_t first, std::size_t step) {
        return (first + i) / step - std::min((first + i) / step, (first + step - 1) / step);
    }

    static void keepError(const char* text, void* self) {
        std::string& error = static_cast<Jpeg2000Decoder*>(self)->__error;
        if (!error.empty())
            return;
        error = text;
        while (!error.empty() && (error.back() == '\n' || error.back() == '.'))
            error.pop_back();
    }

    std::string __filename;
    std::string __error;
    std::unique_ptr<opj_codec_t, CodecDeleter> __codec;
    std::unique_ptr<opj_stream_t, StreamDeleter> __stream;
    std::unique_ptr<opj_image_t, ImageDeleter> __image;
};

/// Brightness and the differences of blue and red to it, of ITU-R BT.601 over the whole range, to red, green, blue.
void differencesToRgb(std::int32_t* samples, std::size_t numPixels, std::size_t numSamples, const ValueType& values) {
    const double middle = values.kind == ValueType::Unsigned ? std::ldexp(1.0, values.bits - 1) : 0;
    const double white = values.white(), black = values.kind == ValueType::Unsigned ? 0 : -white - 1;
    for (std::size_t i = 0; i < numPixels; ++i, samples += numSamples) {
        const double y = samples[0], blue = samples[1] - middle, red = samples[2] - middle;
        const double colours[] = {y + 1.402 * red, y - 0.344136 * blue - 0.714136 * red, y + 1.772 * blue};
        for (int k = 0; k < 3; ++k)
            samples[k] = static_cast<std::int32_t>(std::lround(std::clamp(colours[k], black, white)));
    }
}

} // namespace

ImagePage Jpeg2000ImageFile::getPage(int i) {
    requirePage(i, 1);
    ImagePage page = Jpeg2000Decoder(getFilename()).page();
    // An empty packet is a bit, and a precinct of it may have any size: what a file may hold is bounded by custom
    // alone.
    ImagePage decoded = page;
    decoded.storage = SampleStorage::I32;
    requireBelievable(decoded, getFilename(), 4096);
    const HeaderBoxes boxes(getFilename());
    if (boxes.hasPalette())
        throw FileFormatError(where, "JPEG 2000 with a palette", getFilename());
    if (boxes.isKnown()) {
        page.hasPixelSize = true;
        page.calibration.setLengthUnit(LengthUnit(-6));
        page.calibration.setPixelWidth(static_cast<float>(1e6 / boxes.across()));
        page.calibration.setPixelHeight(static_cast<float>(1e6 / boxes.down()));
        page.calibration.compute();
    }
    return page;
}

void Jpeg2000ImageFile::read(int i, SampleSink& sink) {
    const ImagePage page = getPage(i);
    Jpeg2000Decoder decoder(getFilename(), opj_get_num_cpus());
    decoder.decode();
    const auto width = std::size_t(page.width), numComponents = std::size_t(decoder.numComponents());
    std::vector<std::int32_t> coded(width * numComponents);
    std::vector<unsigned char> narrow(width * numComponents * bytesOf(page.storage)), colours(page.rowLength());
    for (int row = 0; row < page.height; ++row) {
        decoder.row(row, coded.data());
        if (decoder.isDifference())
            differencesToRgb(coded.data(), width, numComponents, page.values);
        withSampleType(page.storage, [&](auto type) {
            using Sample = decltype(type);
            auto* const to = reinterpret_cast<Sample*>(narrow.data());
            for (std::size_t k = 0; k < coded.size(); ++k)
                to[k] = static_cast<Sample>(coded[k]);
        });
        if (decoder.isInk())
            inksToRgb(narrow.data(), width, int(numComponents), page.storage, colours.data());
        if (!sink.takeRow(row, decoder.isInk() ? colours.data() : narrow.data()))
            return;
    }
}

} // namespace vorlen
