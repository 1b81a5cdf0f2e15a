#include "images/files/jpeg2000decoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>

#include <openjpeg.h>

#include "images/files/samplecoding.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr char where[] = "void ImageReader::read(...)";

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

/// Bytes in memory, as OpenJPEG reads them.
struct MemoryStream {
    std::span<const unsigned char> bytes;
    std::size_t at = 0;

    static OPJ_SIZE_T read(void* target, OPJ_SIZE_T length, void* self) {
        auto& stream = *static_cast<MemoryStream*>(self);
        const std::size_t count = std::min<std::size_t>(length, stream.bytes.size() - stream.at);
        if (count == 0)
            return OPJ_SIZE_T(-1);
        std::memcpy(target, stream.bytes.data() + stream.at, count);
        stream.at += count;
        return count;
    }

    static OPJ_OFF_T skip(OPJ_OFF_T length, void* self) {
        auto& stream = *static_cast<MemoryStream*>(self);
        if (length < 0)
            return -1;
        const std::size_t count = std::min(std::size_t(length), stream.bytes.size() - stream.at);
        if (count == 0 && length > 0)
            return -1;
        stream.at += count;
        return OPJ_OFF_T(count);
    }

    static OPJ_BOOL seek(OPJ_OFF_T place, void* self) {
        auto& stream = *static_cast<MemoryStream*>(self);
        if (place < 0 || std::uint64_t(place) > stream.bytes.size())
            return OPJ_FALSE;
        stream.at = std::size_t(place);
        return OPJ_TRUE;
    }
};

/// Where in a component of every step-th column or row the one lies that is i behind the first of the picture.
std::size_t placeIn(std::size_t i, std::size_t first, std::size_t step) {
    return (first + i) / step - std::min((first + i) / step, (first + step - 1) / step);
}

void keepError(const char* text, void* target) {
    std::string& error = *static_cast<std::string*>(target);
    if (!error.empty())
        return;
    error = text;
    while (!error.empty() && (error.back() == '\n' || error.back() == '.'))
        error.pop_back();
}

} // namespace

struct Jpeg2000Decoder::Data {
    std::string filename;
    std::string error;
    MemoryStream memory;
    std::unique_ptr<opj_codec_t, CodecDeleter> codec;
    std::unique_ptr<opj_stream_t, StreamDeleter> stream;
    std::unique_ptr<opj_image_t, ImageDeleter> image;
};

Jpeg2000Decoder::Jpeg2000Decoder(const std::string& filename) : __data(std::make_unique<Data>()) {
    __data->filename = filename;
    const bool isBare = [&filename] {
        std::ifstream file(filename, std::ios::binary);
        return file.get() == 0xff;
    }();
    __data->stream.reset(opj_stream_create_default_file_stream(filename.c_str(), OPJ_TRUE));
    readHeader(isBare);
}

Jpeg2000Decoder::Jpeg2000Decoder(std::span<const unsigned char> bytes, const std::string& filename)
    : __data(std::make_unique<Data>()) {
    __data->filename = filename;
    __data->memory.bytes = bytes;
    opj_stream_t* const stream = opj_stream_default_create(OPJ_TRUE);
    __data->stream.reset(stream);
    if (stream != nullptr) {
        opj_stream_set_user_data(stream, &__data->memory, nullptr);
        opj_stream_set_user_data_length(stream, bytes.size());
        opj_stream_set_read_function(stream, MemoryStream::read);
        opj_stream_set_skip_function(stream, MemoryStream::skip);
        opj_stream_set_seek_function(stream, MemoryStream::seek);
    }
    readHeader(!bytes.empty() && bytes[0] == 0xff);
}

Jpeg2000Decoder::~Jpeg2000Decoder() = default;

void Jpeg2000Decoder::readHeader(bool isBare) {
    __data->codec.reset(opj_create_decompress(isBare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2));
    opj_codec_t* const codec = __data->codec.get();
    if (codec == nullptr || __data->stream == nullptr)
        fail();
    opj_set_error_handler(codec, keepError, &__data->error);
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    const int numThreads = opj_get_num_cpus();
    opj_image_t* image = nullptr;
    const bool isRead = opj_setup_decoder(codec, &parameters) &&
                        (numThreads < 2 || opj_codec_set_threads(codec, numThreads)) &&
                        opj_read_header(__data->stream.get(), codec, &image);
    __data->image.reset(image);
    if (!isRead)
        fail();
}

ImagePage Jpeg2000Decoder::page() const {
    ImagePage page;
    const opj_image_t& image = *__data->image;
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
        if (colours < 4 || page.values.kind != ValueType::Unsigned || (page.values.bits != 8 && page.values.bits != 16))
            refuse("JPEG 2000 of inks of this type");
        page.numSamples = 3;
        page.alpha = -1;
    }
    const bool named = image.color_space == OPJ_CLRSPC_SRGB || isDifference() || isInk();
    if ((named && colours >= 3) || (image.color_space <= OPJ_CLRSPC_UNSPECIFIED && colours == 3))
        page.colour = ImagePage::Rgb;
    return page;
}

void Jpeg2000Decoder::decode() {
    opj_codec_t* const codec = __data->codec.get();
    if (!opj_decode(codec, __data->stream.get(), __data->image.get()) ||
        !opj_end_decompress(codec, __data->stream.get()))
        fail();
    const opj_image_t& image = *__data->image;
    for (OPJ_UINT32 k = 0; k < image.numcomps; ++k)
        if (image.comps[k].data == nullptr || image.comps[k].w == 0 || image.comps[k].h == 0)
            fail();
}

void Jpeg2000Decoder::row(int i, std::int32_t* samples) const {
    const opj_image_t& image = *__data->image;
    const auto numComponents = std::size_t(image.numcomps);
    const int width = static_cast<int>(image.x1 - image.x0);
    for (std::size_t k = 0; k < numComponents; ++k) {
        const opj_image_comp_t& component = image.comps[k];
        const std::size_t line = std::min<std::size_t>(component.h - 1, placeIn(unsigned(i), image.y0, component.dy));
        const OPJ_INT32* const from = component.data + line * component.w;
        for (int j = 0; j < width; ++j)
            samples[std::size_t(j) * numComponents + k] =
                from[std::min<std::size_t>(component.w - 1, placeIn(unsigned(j), image.x0, component.dx))];
    }
}

bool Jpeg2000Decoder::isInk() const {
    return __data->image->color_space == OPJ_CLRSPC_CMYK;
}

bool Jpeg2000Decoder::isDifference() const {
    const opj_image_t& image = *__data->image;
    return image.numcomps >= 3 && (image.color_space == OPJ_CLRSPC_SYCC || image.color_space == OPJ_CLRSPC_EYCC);
}

int Jpeg2000Decoder::numComponents() const {
    return static_cast<int>(__data->image->numcomps);
}

void Jpeg2000Decoder::differencesToRgb(std::int32_t* samples, std::size_t numPixels, std::size_t numSamples,
                                       const ValueType& values) {
    const double middle = values.kind == ValueType::Unsigned ? std::ldexp(1.0, values.bits - 1) : 0;
    const double white = values.white(), black = values.kind == ValueType::Unsigned ? 0 : -white - 1;
    for (std::size_t i = 0; i < numPixels; ++i, samples += numSamples) {
        const double y = samples[0], blue = samples[1] - middle, red = samples[2] - middle;
        const double colours[] = {y + 1.402 * red, y - 0.344136 * blue - 0.714136 * red, y + 1.772 * blue};
        for (int k = 0; k < 3; ++k)
            samples[k] = static_cast<std::int32_t>(std::lround(std::clamp(colours[k], black, white)));
    }
}

void Jpeg2000Decoder::fail() const {
    const std::string& error = __data->error;
    throw FileReadError(where, "Cannot read JPEG 2000" + (error.empty() ? "" : " (" + error + ")"), __data->filename);
}

void Jpeg2000Decoder::refuse(const std::string& what) const {
    throw FileFormatError(where, what, __data->filename);
}

} // namespace vorlen
