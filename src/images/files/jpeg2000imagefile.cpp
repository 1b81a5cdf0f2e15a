#include "images/files/jpeg2000imagefile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <vector>

#include "images/files/believablesize.h"
#include "images/files/colourmodels.h"
#include "images/files/jpeg2000decoder.h"
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
    Jpeg2000Decoder decoder(getFilename());
    decoder.decode();
    const auto width = std::size_t(page.width), numComponents = std::size_t(decoder.numComponents());
    std::vector<std::int32_t> coded(width * numComponents);
    std::vector<unsigned char> narrow(width * numComponents * bytesOf(page.storage)), colours(page.rowLength());
    for (int row = 0; row < page.height; ++row) {
        decoder.row(row, coded.data());
        if (decoder.isDifference())
            Jpeg2000Decoder::differencesToRgb(coded.data(), width, numComponents, page.values);
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
