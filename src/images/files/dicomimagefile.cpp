#include "images/files/dicomimagefile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <system_error>
#include <vector>

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcfilefo.h>
#include <dcmtk/dcmdata/dcmetinf.h>
#include <dcmtk/dcmdata/dcpixel.h>
#include <dcmtk/dcmdata/dcpixseq.h>
#include <dcmtk/dcmdata/dcpxitem.h>
#include <dcmtk/dcmjpeg/djdecode.h>
#include <dcmtk/dcmjpls/djdecode.h>
#include <dcmtk/oflog/oflog.h>

#include "images/files/believablesize.h"
#include "images/files/dicomruns.h"
#include "images/files/dicomseries.h"
#include "images/files/jpeg2000decoder.h"
#include "images/files/samplecoding.h"
#include "images/files/samplesink.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr const char* where = "ImagePage ImageFile::getPage(int)";
constexpr std::uint32_t longestValue = 1 << 20; // of a value other than pixels
constexpr std::size_t deepestNesting = 64;

/// Tells DCMTK what it decodes, and to keep its remarks to itself.
void prepareDcmtk() {
    static const bool once = [] {
        OFLog::configure(OFLogger::OFF_LOG_LEVEL);
        DJDecoderRegistration::registerCodecs(EDC_photometricInterpretation, EUC_default, EPC_colorByPixel);
        DJLSDecoderRegistration::registerCodecs(EJLSUC_default, EJLSPC_colorByPixel);
        return true;
    }();
    static_cast<void>(once);
}

/// How deep items are nested in the bytes of a file. Bytes of values that look like an item count with them, which adds
/// a level here or there and never thousands.
class NestingDepth {
public:
    /// Stops where it is deeper than the limit.
    NestingDepth(const std::string& filename, std::size_t limit) {
        std::ifstream file(filename, std::ios::binary);
        std::vector<char> part(std::size_t(1) << 16);
        std::uint64_t word = 0;
        std::uint64_t at = 0;
        while (file && __deepest <= limit) {
            file.read(part.data(), std::streamsize(part.size()));
            for (std::streamsize i = 0; i < file.gcount(); ++i) {
                word = word << 8 | static_cast<unsigned char>(part[std::size_t(i)]);
                if (++at >= 8 && isTag(std::uint32_t(word >> 32)))
                    take(std::uint32_t(word >> 32), std::uint32_t(word), at);
            }
        }
    }

    std::size_t deepest() const { return __deepest; }

private:
    static constexpr std::uint32_t item = 0xfeff00e0, itemEnd = 0xfeff0de0; // as bytes in the usual order
    static constexpr std::uint32_t swappedItem = 0xfffee000, swappedEnd = 0xfffee00d;

    static bool isTag(std::uint32_t tag) {
        return tag == item || tag == itemEnd || tag == swappedItem || tag == swappedEnd;
    }

    void take(std::uint32_t tag, std::uint32_t length, std::uint64_t at) {
        while (!__ends.empty() && __ends.back() <= at - 8)
            __ends.pop_back();
        if (tag == itemEnd || tag == swappedEnd) {
            if (!__ends.empty())
                __ends.pop_back();
            return;
        }
        const std::uint32_t count =
            tag == swappedItem ? length
                               : length >> 24 | (length >> 8 & 0xff00) | (length << 8 & 0xff0000) | length << 24;
        __ends.push_back(count == 0xffffffff ? std::numeric_limits<std::uint64_t>::max() : at + count);
        __deepest = std::max(__deepest, __ends.size());
    }

    std::vector<std::uint64_t> __ends;
    std::size_t __deepest = 0;
};

/// Values of a data set that may be missing; those of absurd length count as missing.
class DicomValues {
public:
    explicit DicomValues(DcmItem* item) : __item(item) {}

    bool exists() const { return __item != nullptr; }
    DcmElement* element(const DcmTagKey& key) const {
        DcmElement* found = nullptr;
        if (__item == nullptr || __item->findAndGetElement(key, found).bad() || found == nullptr ||
            found->getLengthField() > longestValue)
            return nullptr;
        return found;
    }
    std::string text(const DcmTagKey& key) const {
        OFString value;
        DcmElement* const found = element(key);
        if (found == nullptr || found->getOFString(value, 0).bad())
            return "";
        std::string result(value.c_str(), value.length());
        result.erase(result.find_last_not_of(" \0") + 1);
        return result;
    }
    std::optional<double> real(const DcmTagKey& key, unsigned long i = 0) const {
        Float64 value = 0;
        DcmElement* const found = element(key);
        if (found == nullptr || found->getFloat64(value, i).bad() || !std::isfinite(value))
            return std::nullopt;
        return double(value);
    }
    int whole(const DcmTagKey& key, int otherwise) const {
        Uint16 value = 0;
        DcmElement* const found = element(key);
        return found != nullptr && found->getUint16(value).good() ? int(value) : otherwise;
    }
    long number(const DcmTagKey& key, long otherwise) const {
        Sint32 value = 0;
        DcmElement* const found = element(key);
        return found != nullptr && found->getSint32(value).good() ? long(value) : otherwise;
    }
    /// The item of a sequence; one without values where there is none.
    DicomValues in(const DcmTagKey& sequence, long i = 0) const {
        DcmItem* found = nullptr;
        if (__item == nullptr || __item->findAndGetSequenceItem(sequence, found, i).bad())
            found = nullptr;
        return DicomValues(found);
    }
    template <std::size_t n>
    std::optional<std::array<double, n>> vector(const DcmTagKey& key) const {
        std::array<double, n> values;
        for (std::size_t i = 0; i < n; ++i) {
            const std::optional<double> value = real(key, static_cast<unsigned long>(i));
            if (!value)
                return std::nullopt;
            values[i] = *value;
        }
        return values;
    }

private:
    DcmItem* __item;
};

/// Brightness and colour differences over the whole range, of ITU-R BT.601, to red, green and blue.
template <class Sample>
void fullDifferencesToRgb(Sample* samples, std::size_t numPixels, double white) {
    const double middle = (white + 1) / 2;
    for (std::size_t i = 0; i < numPixels; ++i, samples += 3) {
        const double y = double(samples[0]), blue = double(samples[1]) - middle, red = double(samples[2]) - middle;
        const double colours[] = {y + 1.402 * red, y - 0.344136 * blue - 0.714136 * red, y + 1.772 * blue};
        for (int k = 0; k < 3; ++k)
            samples[k] = static_cast<Sample>(std::lround(std::clamp(colours[k], 0.0, white)));
    }
}

} // namespace

/// The parsed file.
class DicomImageFile::Data {
public:
    struct Scale {
        double slope = 1, intercept = 0;
        bool isNone() const { return slope == 1 && intercept == 0; }
    };

    explicit Data(const std::string& filename) : __filename(filename) {
        prepareDcmtk();
        if (NestingDepth(filename, deepestNesting).deepest() > deepestNesting)
            refuse("sequences nested too deep");
        load();
        readForm();
        readPlaces();
        requireComplete();
        readScales();
        if (isPalette())
            readPalette();
    }

    int numPages() const { return __numFrames; }
    const std::vector<std::string>& warnings() const { return __warnings; }
    DicomValues values() const { return DicomValues(__file.getDataset()); }

    ImagePage page(int i) const {
        ImagePage page = __page;
        const Scale& scale = scaleOf(i);
        if (page.colour != ImagePage::Grey || scale.isNone())
            return page;
        page.values = {ValueType::Real, 32};
        if (__page.values.kind != ValueType::Real && isWhole(scale.slope) && isWhole(scale.intercept)) {
            const bool isSigned = __page.values.kind == ValueType::Signed;
            const double low = isSigned ? -std::exp2(__stored - 1) : 0,
                         high = std::exp2(isSigned ? __stored - 1 : __stored);
            const double ends[] = {low * scale.slope + scale.intercept, high * scale.slope + scale.intercept};
            for (const int bits : {32, 16})
                if (std::min(ends[0], ends[1]) >= -std::exp2(bits - 1) &&
                    std::max(ends[0], ends[1]) <= std::exp2(bits - 1))
                    page.values = {ValueType::Signed, bits};
        }
        page.storage = storageOf(page.values);
        return page;
    }

    void read(int i, SampleSink& sink) {
        const ImagePage page = this->page(i);
        const std::vector<unsigned char> frame = frameBytes(i);
        std::vector<unsigned char> row(page.rowLength());
        const Scale scale = scaleOf(i);
        const std::size_t count = std::size_t(page.width) * std::size_t(page.numSamples);
        for (int r = 0; r < page.height; ++r) {
            withSampleType(page.storage, [&](auto typed) {
                using Sample = decltype(typed);
                auto* const to = reinterpret_cast<Sample*>(row.data());
                for (std::size_t k = 0; k < count; ++k) {
                    double value = sampleAt(frame, placeOf(std::size_t(r), k));
                    if (page.colour == ImagePage::Grey)
                        value = __inverted ? __page.values.white() - value : value * scale.slope + scale.intercept;
                    to[k] = static_cast<Sample>(value);
                }
                if (__differences)
                    fullDifferencesToRgb(to, std::size_t(page.width), page.values.white());
            });
            if (!sink.takeRow(r, row.data()))
                return;
        }
    }

    std::vector<DicomFrame> frames() const {
        std::vector<DicomFrame> frames;
        frames.reserve(std::size_t(__numFrames));
        for (int i = 0; i < __numFrames; ++i) {
            DicomFrame frame;
            frame.filename = __filename;
            frame.page = i;
            frame.number = values().number(DCM_InstanceNumber, 0);
            frame.position = group(i, DCM_PlanePositionSequence).vector<3>(DCM_ImagePositionPatient);
            const auto directions = group(i, DCM_PlaneOrientationSequence).vector<6>(DCM_ImageOrientationPatient);
            if (directions)
                frame.normal = normalOf(*directions);
            frames.push_back(frame);
        }
        return frames;
    }

    std::optional<double> statedSpacing() const {
        const DicomValues measures = group(0, DCM_PixelMeasuresSequence);
        const auto between = measures.real(DCM_SpacingBetweenSlices);
        const auto stated = between ? between : measures.real(DCM_SliceThickness);
        return stated && std::abs(*stated) > 0 ? std::optional(std::abs(*stated)) : std::nullopt;
    }

private:
    static bool isWhole(double value) { return value == std::floor(value) && std::abs(value) < 1e9; }

    static std::optional<std::array<double, 3>> normalOf(const std::array<double, 6>& d) {
        std::array<double, 3> normal = {d[1] * d[5] - d[2] * d[4], d[2] * d[3] - d[0] * d[5],
                                        d[0] * d[4] - d[1] * d[3]};
        const double length = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
        if (!(length > 0.5 && length < 2))
            return std::nullopt;
        for (double& component : normal)
            component /= length;
        return normal;
    }

    [[noreturn]] void refuse(const std::string& what) const {
        throw FileFormatError(where, "Cannot read DICOM with " + what, __filename);
    }
    [[noreturn]] void fail(const std::string& what) const { throw FileReadError(where, what, __filename); }

    /// The form of the values is told by the header, which comes first: forms that would take memory are not begun.
    void load() {
        DcmFileFormat head;
        if (head.loadFile(__filename.c_str(), EXS_Unknown, EGL_noChange, longestValue, ERM_metaOnly).bad())
            fail("Cannot read the header of DICOM");
        const std::string form = DicomValues(head.getMetaInfo()).text(DCM_TransferSyntaxUID);
        const DcmXfer syntax(form.c_str());
        if (syntax.getXfer() == EXS_Unknown || syntax.getStreamCompression() != ESC_none)
            refuse("the transfer syntax \"" + form.substr(0, 64) + "\"");
        if (syntax.getXfer() == EXS_BigEndianExplicit)
            refuse("numbers in big-endian order, which the standard no longer has");
        constexpr Uint32 keptInFile = 4096;
        const OFCondition loaded =
            __file.loadFile(__filename.c_str(), EXS_Unknown, EGL_noChange, keptInFile, ERM_fileOnly);
        if (loaded.bad())
            fail("Cannot read DICOM (" + std::string(loaded.text()) + ")");
    }

    /// What is the same for all frames, or each frame's own, or at the top of the file.
    DicomValues group(int frame, const DcmTagKey& sequence) const {
        for (const DicomValues& groups : {values().in(DCM_PerFrameFunctionalGroupsSequence, frame),
                                          values().in(DCM_SharedFunctionalGroupsSequence)})
            if (const DicomValues found = groups.in(sequence); found.exists())
                return found;
        return values();
    }

    void readForm() {
        const DicomValues v = values();
        if (v.element(DCM_TotalPixelMatrixColumns) != nullptr)
            refuse("a whole slide in tiles");
        const DcmTagKey keys[] = {DCM_PixelData, DCM_FloatPixelData, DCM_DoubleFloatPixelData};
        std::size_t kind = 0;
        while (kind < 3 && (__file.getDataset()->findAndGetElement(keys[kind], __pixels).bad() || __pixels == nullptr))
            ++kind;
        if (kind == 3)
            refuse("no pixels");
        __page.width = v.whole(DCM_Columns, 0);
        __page.height = v.whole(DCM_Rows, 0);
        __page.numSamples = v.whole(DCM_SamplesPerPixel, 1);
        __allocated = kind == 2 ? 64 : kind == 1 ? 32 : v.whole(DCM_BitsAllocated, 0);
        __stored = kind > 0 ? __allocated : v.whole(DCM_BitsStored, __allocated);
        const int highBit = kind > 0 ? __allocated - 1 : v.whole(DCM_HighBit, __stored - 1);
        const bool whole = __allocated == 8 || __allocated == 16 || __allocated == 32;
        if ((kind == 0 && !whole) || __stored < 1 || __stored > __allocated || highBit >= __allocated ||
            highBit + 1 < __stored)
            refuse("samples of " + std::to_string(__stored) + " bits in " + std::to_string(__allocated));
        __shift = highBit + 1 - __stored;
        const bool isSigned = kind == 0 && v.whole(DCM_PixelRepresentation, 0) == 1;
        __page.values = kind > 0   ? ValueType{ValueType::Real, __allocated}
                        : isSigned ? ValueType{ValueType::Signed, __allocated}
                                   : ValueType{ValueType::Unsigned, __stored};
        __page.storage = storageOf(__page.values);
        __model = v.text(DCM_PhotometricInterpretation);
        __planar = v.whole(DCM_PlanarConfiguration, 0) == 1 && __page.numSamples > 1;
        __numFrames = static_cast<int>(std::clamp<long>(v.number(DCM_NumberOfFrames, 1), 0, 1 << 30));
        readColour(isSigned || kind > 0);
        const DicomValues measures = group(0, DCM_PixelMeasuresSequence);
        auto size = measures.vector<2>(DCM_PixelSpacing);
        size = size ? size : v.vector<2>(DCM_ImagerPixelSpacing);
        if (size && (*size)[0] > 1e-12 && (*size)[1] > 1e-12 && (*size)[0] < 1e12 && (*size)[1] < 1e12) {
            __page.hasPixelSize = true;
            __page.calibration.setLengthUnit(LengthUnit(-3));
            __page.calibration.setPixelHeight(static_cast<float>((*size)[0])); // the distance of rows comes first
            __page.calibration.setPixelWidth(static_cast<float>((*size)[1]));
            __page.calibration.compute();
        }
        if (v.element(DCM_ModalityLUTSequence) != nullptr)
            __warnings.emplace_back("its table of values (modality LUT) is not applied");
    }

    void readColour(bool isSignedOrReal) {
        if (__model == "MONOCHROME1" || __model == "MONOCHROME2") {
            if (__page.numSamples != 1)
                refuse(std::to_string(__page.numSamples) + " grey samples per pixel");
            __inverted = __model == "MONOCHROME1" && !isSignedOrReal;
            return;
        }
        if (isSignedOrReal)
            refuse("colours of this type");
        if (isPalette() && __page.numSamples == 1 && __allocated <= 16) {
            __page.colour = ImagePage::Palette;
            return;
        }
        // What a codec makes of them is looked at when a frame is there.
        const bool ofCodec = isJpeg2000() && (__model == "YBR_ICT" || __model == "YBR_RCT"); // which gives colours
        if ((!ofCodec && __model != "RGB" && __model != "YBR_FULL" && __model != "YBR_FULL_422") ||
            __page.numSamples != 3 || __allocated > 16 || (__model == "YBR_FULL_422" && !isEncapsulated()))
            refuse("the colours \"" + __model.substr(0, 20) + "\"");
        __page.colour = ImagePage::Rgb;
        __differences = __model != "RGB" && !ofCodec;
    }

    bool isJpeg2000() const {
        const E_TransferSyntax form = syntax().getXfer();
        return form == EXS_JPEG2000 || form == EXS_JPEG2000LosslessOnly;
    }
    // Decoded here: DCMTK 3.6.7 reads before the beginning of what some damaged files have.
    bool isRuns() const { return syntax().getXfer() == EXS_RLELossless; }
    bool isPalette() const { return __model == "PALETTE COLOR"; }
    DcmXfer syntax() const { return DcmXfer(__file.getDataset()->getOriginalXfer()); }
    bool isEncapsulated() const { return syntax().isEncapsulated(); }
    std::size_t frameLength() const {
        return std::size_t(__page.width) * std::size_t(__page.height) * std::size_t(__page.numSamples) *
               std::size_t(__allocated / 8);
    }

    void readPlaces() {
        if (!isEncapsulated())
            return;
        auto* const pixels = dynamic_cast<DcmPixelData*>(__pixels);
        E_TransferSyntax form = EXS_Unknown;
        const DcmRepresentationParameter* parameter = nullptr;
        DcmPixelSequence* sequence = nullptr;
        if (pixels == nullptr)
            fail("The frames of DICOM are not in fragments");
        pixels->getOriginalRepresentationKey(form, parameter);
        if (pixels->getEncapsulatedRepresentation(form, parameter, sequence).bad() || sequence == nullptr ||
            sequence->card() < 2)
            fail("The frames of DICOM are not in fragments");
        __numFragments = long(sequence->card()) - 1; // the first is a table of places
        __fragments = sequence;
        if (__numFrames > __numFragments)
            fail("This file is too short for the number of frames in its header");
    }

    void requireComplete() const {
        if (__numFrames < 1)
            refuse("no frames");
        ImagePage raw = __page;
        raw.storage = __allocated <= 8    ? SampleStorage::U8
                      : __allocated <= 16 ? SampleStorage::U16
                      : __allocated <= 32 ? SampleStorage::U32
                                          : SampleStorage::F64;
        constexpr std::uint64_t greatestRatio = 4096;
        requireBelievable(raw, __filename, greatestRatio);
        if (isEncapsulated())
            return;
        // The length in the header is borne out by the file: it has been passed over.
        const std::uint64_t length = __pixels->getLengthField();
        requireBelievable(raw, std::uint64_t(__numFrames), 0, std::min(length, lengthOfFile(__filename)), __filename);
    }

    void readScales() {
        if (__page.colour != ImagePage::Grey)
            return;
        for (int i = 0; i < __numFrames; ++i) {
            const DicomValues found = group(i, DCM_PixelValueTransformationSequence);
            const Scale scale = {found.real(DCM_RescaleSlope).value_or(1),
                                 found.real(DCM_RescaleIntercept).value_or(0)};
            if (scale.slope == 0 || std::abs(scale.slope) > 1e30 || std::abs(scale.intercept) > 1e30)
                refuse("a rescale slope of 0 or beyond all numbers");
            __scales.push_back(scale);
            __inverted = __inverted && scale.isNone();
            if (i == 0 && !values().in(DCM_PerFrameFunctionalGroupsSequence).exists())
                break; // the same for all
        }
        if (__model == "MONOCHROME1" && !__inverted)
            __warnings.emplace_back("its least values stand for white, and are kept as they are");
    }

    const Scale& scaleOf(int i) const {
        static const Scale none;
        return __scales.empty() ? none : __scales[std::min(std::size_t(i), __scales.size() - 1)];
    }

    /// The colours of all values that the samples can have; the table begins at a value of its own.
    void readPalette() {
        const DcmTagKey descriptors[] = {DCM_RedPaletteColorLookupTableDescriptor,
                                         DCM_GreenPaletteColorLookupTableDescriptor,
                                         DCM_BluePaletteColorLookupTableDescriptor};
        const DcmTagKey tables[] = {DCM_RedPaletteColorLookupTableData, DCM_GreenPaletteColorLookupTableData,
                                    DCM_BluePaletteColorLookupTableData};
        const std::size_t size = std::size_t(1) << __stored;
        for (int k = 0; k < 3; ++k) {
            DcmElement* const descriptor = values().element(descriptors[k]);
            DcmElement* const table = values().element(tables[k]);
            Uint16 numbers[3] = {};
            Uint16* entries = nullptr;
            for (unsigned long i = 0; descriptor != nullptr && i < 3; ++i)
                if (descriptor->getUint16(numbers[i], i).bad())
                    numbers[2] = 0;
            const std::size_t count = numbers[0] == 0 ? 65536 : numbers[0];
            if (table == nullptr || (numbers[2] != 8 && numbers[2] != 16) || table->getUint16Array(entries).bad() ||
                entries == nullptr)
                refuse("a palette of this form");
            // Entries of 8 bits stand two in a word, or one where the table is twice as long.
            const std::size_t length = table->getLengthField();
            const bool bytes = numbers[2] == 8 && length < 2 * count;
            if (length < (bytes ? count : 2 * count))
                fail("The palette of DICOM is too short");
            for (std::size_t i = 0; i < size; ++i) {
                const std::size_t j = std::min(i - std::min<std::size_t>(i, numbers[1]), count - 1);
                const unsigned entry = bytes ? unsigned(entries[j / 2]) >> (j % 2 * 8) & 255 : entries[j];
                __page.palette.push_back(static_cast<std::uint16_t>(numbers[2] == 8 ? (entry & 255) * 257 : entry));
            }
        }
    }

    /// The decoded bytes of a frame, in the machine's order.
    std::vector<unsigned char> frameBytes(int i) {
        const std::size_t length = frameLength();
        std::vector<unsigned char> bytes(length + length % 2);
        if (!isEncapsulated()) {
            const std::size_t start = std::size_t(i) * length, sample = std::size_t(__allocated / 8);
            // DCMTK swaps words of an element, so that a frame of odd length is taken from the word before it.
            const std::size_t odd = start % 2,
                              count = std::min<std::size_t>(odd + length, __pixels->getLengthField() - start + odd);
            std::vector<unsigned char> words(odd + length + 2);
            const OFCondition got = __pixels->getPartialValue(words.data(), Uint32(start - odd), Uint32(count));
            if (got.bad() || sample == 0)
                fail("Cannot read the pixels of DICOM (" + std::string(got.text()) + ")");
            std::copy_n(words.begin() + std::ptrdiff_t(odd), length, bytes.begin());
            return bytes;
        }
        if (isJpeg2000()) {
            decodeJpeg2000(i, bytes);
            return bytes;
        }
        if (isRuns()) {
            const std::string wrong =
                decodeDicomRuns(codedBytes(i), std::size_t(__page.width) * std::size_t(__page.height),
                                std::size_t(__page.numSamples), std::size_t(__allocated) / 8, __planar, bytes);
            if (!wrong.empty())
                fail("Cannot decode the pixels of DICOM (" + wrong + ")");
            return bytes;
        }
        Uint32 fragment = __numFragments == long(__numFrames) ? Uint32(i) + 1 : 0;
        OFString model;
        const OFCondition got = dynamic_cast<DcmPixelData&>(*__pixels).getUncompressedFrame(
            __file.getDataset(), Uint32(i), fragment, bytes.data(), Uint32(bytes.size()), model);
        if (got.bad())
            fail("Cannot decode the pixels of DICOM (" + std::string(got.text()) + ")");
        if (__page.colour == ImagePage::Rgb)
            __differences = model != "RGB";
        return bytes;
    }

    DcmPixelItem& fragment(long k) const {
        DcmPixelItem* item = nullptr;
        if (__fragments == nullptr || __fragments->getItem(item, static_cast<unsigned long>(k)).bad() ||
            item == nullptr)
            fail("The frames of DICOM are not in fragments");
        return *item;
    }
    std::vector<unsigned char> fragmentBytes(long k, std::uint64_t most) const {
        DcmPixelItem& item = fragment(k);
        std::vector<unsigned char> bytes(std::size_t(std::min<std::uint64_t>(item.getLengthField(), most)));
        if (!bytes.empty() && item.getPartialValue(bytes.data(), 0, Uint32(bytes.size())).bad())
            fail("Cannot read the pixels of DICOM");
        return bytes;
    }

    /// The fragments that frames begin with. Where there are more of them than frames, these are known by the marks
    /// that a codestream begins with, whether there is a table of their places or not.
    void findFrames() {
        if (!__firstFragments.empty())
            return;
        for (long k = 1; k <= __numFragments; ++k) {
            const std::vector<unsigned char> start = fragmentBytes(k, 4);
            constexpr unsigned char mark[] = {0xff, 0x4f, 0xff, 0x51}, container[] = {0, 0, 0, 12};
            const auto is = [&start](const unsigned char* wanted) {
                return start.size() == 4 && std::memcmp(start.data(), wanted, 4) == 0;
            };
            if (k == 1 || __numFragments == long(__numFrames) || is(mark) || is(container))
                __firstFragments.push_back(k);
        }
        if (long(__firstFragments.size()) != long(__numFrames)) {
            __firstFragments.clear();
            fail("The frames of DICOM cannot be told apart");
        }
        __firstFragments.push_back(__numFragments + 1);
    }

    std::vector<unsigned char> codedBytes(int i) {
        findFrames();
        std::vector<unsigned char> coded;
        for (long k = __firstFragments[std::size_t(i)]; k < __firstFragments[std::size_t(i) + 1]; ++k) {
            const std::vector<unsigned char> part = fragmentBytes(k, lengthOfFile(__filename));
            coded.insert(coded.end(), part.begin(), part.end());
        }
        return coded;
    }

    /// Samples as DICOM has them: as many bytes as are allocated, shifted to their place.
    void decodeJpeg2000(int i, std::vector<unsigned char>& bytes) {
        const std::vector<unsigned char> coded = codedBytes(i);
        Jpeg2000Decoder decoder(coded, __filename);
        const ImagePage form = decoder.page();
        if (form.width != __page.width || form.height != __page.height ||
            decoder.numComponents() != __page.numSamples || form.values.bits > __stored || __allocated > 32)
            fail("A frame of JPEG 2000 has another form than the header of DICOM tells");
        decoder.decode();
        const std::size_t count = std::size_t(__page.width) * std::size_t(__page.numSamples);
        const std::size_t length = std::size_t(__allocated) / 8;
        std::vector<std::int32_t> row(count);
        unsigned char* to = bytes.data();
        for (int r = 0; r < __page.height; ++r) {
            decoder.row(r, row.data());
            for (const std::int32_t sample : row) {
                const std::uint32_t word = std::uint32_t(sample) << __shift;
                const auto half = static_cast<std::uint16_t>(word);
                const auto byte = static_cast<std::uint8_t>(word);
                std::memcpy(to,
                            length == 1   ? static_cast<const void*>(&byte)
                            : length == 2 ? static_cast<const void*>(&half)
                                          : &word,
                            length);
                to += length;
            }
        }
    }

    /// Where the k-th sample of a row stands.
    std::size_t placeOf(std::size_t row, std::size_t k) const {
        const auto width = std::size_t(__page.width), samples = std::size_t(__page.numSamples);
        const bool codecs = isEncapsulated() && !isRuns(); // give pixels one by one
        if (!__planar || codecs)
            return row * width * samples + k;
        return (k % samples * std::size_t(__page.height) + row) * width + k / samples;
    }

    double sampleAt(const std::vector<unsigned char>& bytes, std::size_t place) const {
        if (__page.values.kind == ValueType::Real)
            return __allocated == 64 ? at<double>(bytes, place) : double(at<float>(bytes, place));
        const std::uint32_t raw = __allocated == 8    ? bytes[place]
                                  : __allocated == 16 ? at<std::uint16_t>(bytes, place)
                                                      : at<std::uint32_t>(bytes, place);
        const std::uint32_t mask = __stored == 32 ? 0xffffffffu : (1u << __stored) - 1;
        const std::uint32_t value = raw >> __shift & mask;
        if (__page.values.kind == ValueType::Signed && (value >> (__stored - 1)) != 0)
            return double(value) - std::exp2(__stored);
        return double(value);
    }

    template <class Number>
    static Number at(const std::vector<unsigned char>& bytes, std::size_t place) {
        Number number;
        std::memcpy(&number, &bytes[place * sizeof number], sizeof number);
        return number;
    }

    std::string __filename;
    mutable DcmFileFormat __file; // DCMTK looks for elements by operations that are not const
    DcmElement* __pixels = nullptr;
    ImagePage __page; // before any scale
    int __numFrames = 0, __allocated = 0, __stored = 0, __shift = 0;
    long __numFragments = 0;
    DcmPixelSequence* __fragments = nullptr; // in the file
    std::vector<long> __firstFragments;      // of each frame, once one is decoded, and the end
    std::string __model;
    bool __planar = false, __inverted = false, __differences = false;
    std::vector<Scale> __scales; // of each frame, or one for all
    std::vector<std::string> __warnings;
};

DicomImageFile::DicomImageFile(const std::string& filename)
    : ImageFile(filename), __data(std::make_unique<Data>(filename)) {
}

DicomImageFile::~DicomImageFile() = default;

int DicomImageFile::getNumPages() {
    return __data->numPages();
}

ImagePage DicomImageFile::getPage(int i) {
    requirePage(i, getNumPages());
    return __data->page(i);
}

void DicomImageFile::read(int i, SampleSink& sink) {
    requirePage(i, getNumPages());
    __data->read(i, sink);
}

StackLayout DicomImageFile::getLayout() {
    StackLayout layout = dicomLayout(getFrames(), getPage(0), getStatedSpacing());
    for (StackLayout::Plane& plane : layout.planes)
        plane.filename.clear();
    layout.warnings.insert(layout.warnings.begin(), getWarnings().begin(), getWarnings().end());
    return layout;
}

std::string DicomImageFile::getSeries() const {
    return __data->values().text(DCM_SeriesInstanceUID);
}

std::vector<DicomFrame> DicomImageFile::getFrames() {
    return __data->frames();
}

std::optional<double> DicomImageFile::getStatedSpacing() {
    return __data->statedSpacing();
}

const std::vector<std::string>& DicomImageFile::getWarnings() const {
    return __data->warnings();
}

bool DicomImageFile::isDicom(const std::string& filename) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(filename, error)) // a pipe would hang
        return false;
    std::ifstream file(filename, std::ios::binary);
    char mark[4] = {};
    file.seekg(128);
    file.read(mark, 4);
    return file.gcount() == 4 && std::memcmp(mark, "DICM", 4) == 0;
}

} // namespace vorlen
