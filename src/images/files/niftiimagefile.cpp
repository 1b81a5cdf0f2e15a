#include "images/files/niftiimagefile.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>

#include <zlib.h>

#include "images/files/samplecoding.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr std::size_t niftiHeaderLength = 540;

/// The header's bytes, out of gzip where they are; zeros behind the end.
struct NiftiHeader {
    explicit NiftiHeader(const std::string& filename) {
        const gzFile file = gzopen(filename.c_str(), "rb");
        if (file == nullptr)
            return;
        const int got = gzread(file, bytes, sizeof bytes);
        length = got > 0 ? static_cast<std::size_t>(got) : 0;
        compressed = gzdirect(file) == 0;
        gzclose(file);
        std::int32_t size = 0;
        std::memcpy(&size, bytes, 4);
        swapped = size == 0x5c010000 || size == 0x1c020000;
        second = size == 540 || size == 0x1c020000;
    }

    template <class T>
    T at(std::size_t place) const {
        unsigned char copy[sizeof(T)];
        std::memcpy(copy, bytes + place, sizeof(T));
        if (swapped)
            std::reverse(copy, copy + sizeof(T));
        T value;
        std::memcpy(&value, copy, sizeof(T));
        return value;
    }

    bool isPair() const { return std::memcmp(bytes + (second ? 4 : 344), second ? "ni2" : "ni1", 4) == 0; }
    bool isSingle() const { return std::memcmp(bytes + (second ? 4 : 344), second ? "n+2" : "n+1", 4) == 0; }
    bool isKnown() const { return length >= (second ? 540u : 348u) && (isPair() || isSingle()); }

    unsigned char bytes[niftiHeaderLength + 8] = {};
    std::size_t length = 0;
    bool compressed = false, swapped = false, second = false;
};

struct NiftiType {
    int code, samples;
    ValueType type;
};

constexpr NiftiType niftiTypes[] = {
    {2, 1, {ValueType::Unsigned, 8}},   {4, 1, {ValueType::Signed, 16}},      {8, 1, {ValueType::Signed, 32}},
    {16, 1, {ValueType::Real, 32}},     {64, 1, {ValueType::Real, 64}},       {128, 3, {ValueType::Unsigned, 8}},
    {256, 1, {ValueType::Signed, 8}},   {512, 1, {ValueType::Unsigned, 16}},  {768, 1, {ValueType::Unsigned, 32}},
    {1024, 1, {ValueType::Signed, 64}}, {1280, 1, {ValueType::Unsigned, 64}}, {2304, 4, {ValueType::Unsigned, 8}},
};

} // namespace

bool NiftiImageFile::isNifti(const std::string& filename) {
    return NiftiHeader(filename).isKnown();
}

NiftiImageFile::NiftiImageFile(const std::string& filename) : RawVolume(filename) {
    const NiftiHeader header(filename);
    if (!header.isKnown())
        throw FileReadError("ImageFile::open(const string&)", "The header of NIfTI is cut off", filename);
    const bool second = header.second;
    std::int64_t sizes[8];
    double lengths[8];
    for (std::size_t i = 0; i < 8; ++i) {
        sizes[i] = second ? header.at<std::int64_t>(16 + 8 * i) : header.at<std::int16_t>(40 + 2 * i);
        lengths[i] = second ? header.at<double>(104 + 8 * i) : double(header.at<float>(76 + 4 * i));
    }
    const int code = header.at<std::int16_t>(second ? 12 : 70);
    const auto* const type = std::find_if(std::begin(niftiTypes), std::end(niftiTypes),
                                          [code](const NiftiType& each) { return each.code == code; });
    if (type == std::end(niftiTypes))
        refuse("samples of type " + std::to_string(code));
    long double pages = 1;
    for (std::int64_t axis = 1; axis <= 7; ++axis) {
        // Axes that the header does not count have the size 1, whatever stands there.
        std::int64_t& size = sizes[axis];
        size = axis <= sizes[0] ? size : 1;
        if (size < 1 || size > 1 << 30)
            refuse("sizes that make no volume");
        pages *= axis > 2 ? size : 1;
    }
    if (sizes[0] < 2 || sizes[0] > 7 || pages > 1 << 30)
        refuse("sizes that make no volume");
    __page.width = static_cast<int>(sizes[1]);
    __page.height = static_cast<int>(sizes[2]);
    __numPlanes = static_cast<int>(sizes[3]);
    __numPages = static_cast<int>(pages);
    __page.numSamples = type->samples;
    __page.colour = type->samples > 1 ? ImagePage::Rgb : ImagePage::Grey;
    __page.alpha = type->samples > 3 ? 3 : -1;
    __rawType = __page.values = type->type;
    __swapped = header.swapped;
    __compressed = header.compressed;
    const double slope = second ? header.at<double>(176) : double(header.at<float>(112));
    const double intercept = second ? header.at<double>(184) : double(header.at<float>(116));
    if (type->samples == 1 && std::isfinite(slope) && std::isfinite(intercept) && slope != 0 &&
        (slope != 1 || intercept != 0)) {
        __slope = slope;
        __intercept = intercept;
        __page.values = {ValueType::Real, 32};
    }
    __page.storage = storageOf(__page.values);
    const double offset = second ? double(header.at<std::int64_t>(168)) : double(header.at<float>(108));
    if (!(offset >= 0 && offset < 1e15))
        refuse("samples that begin nowhere");
    __offset = static_cast<std::uint64_t>(offset);
    if (header.isPair()) {
        const bool zipped = filename.size() > 3 && filename.compare(filename.size() - 3, 3, ".gz") == 0;
        const std::string base = zipped ? filename.substr(0, filename.size() - 3) : filename;
        __dataFile = base.substr(0, base.rfind('.')) + ".img" + (zipped ? ".gz" : "");
    } else {
        __offset = std::max<std::uint64_t>(__offset, second ? 544 : 352);
    }
    const int units = (second ? header.at<std::int32_t>(500) : header.bytes[123]) & 7;
    __unit = LengthUnit(units == 1 ? 0 : units == 3 ? -6 : -3);
    const auto length = [&lengths](std::size_t axis) {
        const double value = std::abs(lengths[axis]);
        return std::isfinite(value) && value > 0 ? std::optional(value) : std::nullopt;
    };
    __pixelWidth = length(1);
    __pixelHeight = length(2);
    __spacing = length(3);
    requireComplete();
}

} // namespace vorlen
