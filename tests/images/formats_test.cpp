#include "images/files/imagefile.h"
#include "images/files/imagereader.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "support/dicommaker.h"
#include "support/imagebytes.h"
#include "support/jpeg2000bytes.h"
#include "support/temporaryfolder.h"
#include "support/tiffmaker.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

namespace vorlen {

namespace {

constexpr int formatWidth = 16, formatHeight = 12;

/// One line of the table: a file that is written here, and what its pixels must be.
struct FormatLine {
    std::string format, kind;
    std::function<void(const std::string& filename)> write;
    std::string values;
    std::vector<std::function<double(int row, int column)>> channels; ///< their values, worked out here
    double tolerance = 0;
    std::string unit = ""; ///< of the pixel; empty where the file gives none
    double pixelWidth = 0;
    int page = 0;
};

int ramp(int row, int column, int sample = 0) {
    return 5 * row + 3 * column + 40 * sample + 2;
}

void writeBytes(const std::string& filename, const std::string& bytes) {
    std::ofstream(filename, std::ios::binary) << bytes;
}

/// Samples of a volume of planes of the ramp, plus 100 for each plane.
template <class Number>
std::string volumeSamples(int planes, bool bigEndian = false) {
    std::string bytes;
    for (int k = 0; k < planes; ++k)
        for (int i = 0; i < formatHeight; ++i)
            for (int j = 0; j < formatWidth; ++j)
                bytes += ImageBytes::number(static_cast<Number>(ramp(i, j) + 100 * k), bigEndian);
    return bytes;
}

std::function<double(int, int)> value(std::function<double(double)> of, int sample = 0) {
    return [of, sample](int i, int j) { return of(ramp(i, j, sample)); };
}

double same(double number) {
    return number;
}

TiffMaker plainTiff() {
    TiffMaker maker;
    maker.width = formatWidth;
    maker.height = formatHeight;
    return maker;
}

std::string jpeg2000Bytes(const Jpeg2000Maker& maker, const std::function<int(int, int, int)>& sample) {
    const TemporaryFolder folder;
    maker.write(folder.file("a.jp2"), sample);
    return folder.read("a.jp2");
}

/// Two strips, of which libtiff knows nothing.
void writeJpeg2000Tiff(const std::string& filename, int compression, int bits, int samples,
                       const std::function<int(int, int, int)>& sample) {
    Jpeg2000Maker maker;
    maker.height = formatHeight / 2;
    maker.bits = bits;
    maker.samples = samples;
    maker.bare = true;
    TIFF* tiff = TIFFOpen(filename.c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, formatWidth);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, formatHeight);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, maker.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    for (const int strip : {0, 1}) {
        std::string bytes =
            jpeg2000Bytes(maker, [&, strip](int i, int j, int k) { return sample(i + strip * maker.height, j, k); });
        TIFFWriteRawStrip(tiff, std::uint32_t(strip), bytes.data(), tmsize_t(bytes.size()));
    }
    TIFFClose(tiff);
}

/// Brightness and the differences of blue and red to it, which are the same everywhere.
int differences(int row, int column, int sample) {
    return sample == 0 ? 60 + ramp(row, column) : sample == 1 ? 118 : 148;
}

const std::vector<std::function<double(int, int)>> coloursOfDifferences = {value([](double n) { return n + 60 + 28; }),
                                                                           value([](double n) { return n + 60 - 11; }),
                                                                           value([](double n) { return n + 60 - 18; })};

void addTiff(std::vector<FormatLine>& lines) {
    const auto add = [&lines](const std::string& kind, const TiffMaker& maker, const std::string& values,
                              std::vector<std::function<double(int, int)>> channels, const char* mode = "w",
                              TiffMaker::Samples samples = {}, double tolerance = 0) {
        if (!TIFFIsCODECConfigured(std::uint16_t(maker.compression)))
            return;
        if (!samples)
            samples = [](int i, int j, int k) { return std::uint64_t(ramp(i, j, k)); };
        const std::string of = mode;
        FormatLine line{"TIFF",
                        kind,
                        [maker, samples, of](const std::string& f) { maker.write(f, samples, of.c_str()); },
                        values,
                        std::move(channels),
                        tolerance,
                        "",
                        0,
                        0};
        if (maker.unit == RESUNIT_INCH || maker.unit == RESUNIT_CENTIMETER) {
            line.unit = maker.unit == RESUNIT_INCH ? "inch" : "centimeter";
            line.pixelWidth = (maker.unit == RESUNIT_INCH ? 25400.0 : 10000.0) / double(maker.xResolution);
        }
        lines.push_back(line);
    };
    const std::vector<std::function<double(int, int)>> grey = {value(same)};
    const auto samplesOf = [](int number) {
        std::vector<std::function<double(int, int)>> channels;
        for (int k = 0; k < number; ++k)
            channels.push_back(value(same, k));
        return channels;
    };
    TiffMaker maker = plainTiff();
    add("grey, strips", maker, "uint8", grey);
    maker.rowsPerStrip = 5;
    add("grey, strips, big-endian", maker, "uint8", grey, "wb");
    add("grey, strips, BigTIFF", maker, "uint8", grey, "w8");
    maker.tile = 16;
    add("grey, tiles", maker, "uint8", grey);
    maker.unit = RESUNIT_INCH;
    maker.xResolution = maker.yResolution = 300;
    add("grey, tiles, resolution", maker, "uint8", grey);
    maker.unit = RESUNIT_CENTIMETER;
    maker.xResolution = maker.yResolution = 20000;
    add("grey, tiles, resolution", maker, "uint8", grey);
    for (const int bits : {1, 2, 4, 12, 16, 24, 32, 64}) {
        maker = plainTiff();
        maker.bits = bits;
        const int mask = bits < 8 ? (1 << bits) - 1 : 0xffff;
        add("grey", maker, "uint" + std::to_string(bits),
            {value([mask](double number) { return double(int(number) & mask); })}, "w",
            [mask](int i, int j, int) { return std::uint64_t(ramp(i, j) & mask); });
    }
    for (const int bits : {8, 16, 32, 64}) {
        maker = plainTiff();
        maker.bits = bits;
        maker.format = SAMPLEFORMAT_INT;
        const std::uint64_t mask = bits == 64 ? ~std::uint64_t(0) : (std::uint64_t(1) << bits) - 1;
        add("grey", maker, "int" + std::to_string(bits), {value([](double number) { return number - 100; })}, "w",
            [mask](int i, int j, int) { return std::uint64_t(std::int64_t(ramp(i, j) - 100)) & mask; });
    }
    for (const int bits : {16, 32, 64}) {
        maker = plainTiff();
        maker.bits = bits;
        maker.format = SAMPLEFORMAT_IEEEFP;
        add("grey", maker, "float" + std::to_string(bits),
            {value([bits](double number) { return bits == 16 ? 1 + number / 1024 : number / 4 - 20; })}, "w",
            [bits](int i, int j, int) -> std::uint64_t {
                const double number = ramp(i, j);
                if (bits == 16) // 1 and a fraction in 1024ths
                    return 0x3c00u + std::uint64_t(number);
                return bits == 32 ? bitsOf(float(number / 4 - 20)) : bitsOf(number / 4 - 20);
            });
    }
    maker = plainTiff();
    maker.photometric = PHOTOMETRIC_MINISWHITE;
    add("grey, least is white", maker, "uint8", {value([](double number) { return 255 - number; })});
    for (const int samples : {2, 5}) {
        maker = plainTiff();
        maker.samples = samples;
        add(std::to_string(samples) + " channels", maker, "uint8", samplesOf(samples), "w",
            [](int i, int j, int k) { return std::uint64_t(ramp(i, j, k) & 0xff); });
        if (samples == 5)
            lines.back().channels[4] = value([](double number) { return double(int(number) & 0xff); }, 4);
        if (samples == 5)
            lines.back().channels[3] = value([](double number) { return double(int(number) & 0xff); }, 3);
    }
    for (const int planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE})
        for (const int bits : {8, 16}) {
            maker = plainTiff();
            maker.samples = 3;
            maker.bits = bits;
            maker.planar = planar;
            maker.photometric = PHOTOMETRIC_RGB;
            add(planar == PLANARCONFIG_CONTIG ? "red, green, blue" : "red, green, blue in planes", maker,
                "uint" + std::to_string(bits), samplesOf(3));
        }
    maker = plainTiff();
    maker.photometric = PHOTOMETRIC_PALETTE;
    for (int table = 0; table < 3; ++table)
        for (int i = 0; i < 256; ++i)
            maker.palette.push_back(std::uint16_t((table == 1 ? 255 - i : i / (table + 1)) << 8));
    add("palette", maker, "uint8",
        {value(same), value([](double number) { return 255 - number; }),
         value([](double number) { return std::floor(number / 3); })});
    maker = plainTiff();
    maker.samples = 4;
    maker.photometric = PHOTOMETRIC_SEPARATED;
    std::vector<std::function<double(int, int)>> inks;
    for (int k = 0; k < 3; ++k)
        inks.push_back([k](int i, int j) { return (255.0 - ramp(i, j, k)) * (255 - 60) / 255; });
    add(
        "cyan, magenta, yellow, black", maker, "uint8", inks, "w",
        [](int i, int j, int k) { return std::uint64_t(k == 3 ? 60 : ramp(i, j, k)); }, 0.51);
    maker = plainTiff();
    maker.samples = 3;
    maker.photometric = PHOTOMETRIC_CIELAB;
    const auto grey50 = [](int, int) { return 118.9; }; // L* of 50
    add(
        "L\\*a\\*b\\*", maker, "uint8", {grey50, grey50, grey50}, "w",
        [](int, int, int k) { return std::uint64_t(k == 0 ? 127.5 : 0); }, 1.5);
    for (const auto& [compression, name, bits, tolerance] : {std::tuple{COMPRESSION_LZW, "LZW", 16, 0.0},
                                                             {COMPRESSION_ADOBE_DEFLATE, "Deflate", 16, 0.0},
                                                             {COMPRESSION_PACKBITS, "PackBits", 8, 0.0},
                                                             {COMPRESSION_ZSTD, "Zstd", 16, 0.0},
                                                             {COMPRESSION_LZMA, "LZMA", 16, 0.0},
                                                             {COMPRESSION_LERC, "LERC", 16, 0.0},
                                                             {COMPRESSION_JPEG, "JPEG", 8, 6.0},
                                                             {COMPRESSION_CCITTFAX4, "fax, group 4", 1, 0.0}}) {
        maker = plainTiff();
        maker.compression = compression;
        maker.bits = bits;
        const int mask = bits == 1 ? 1 : 0xffff;
        add(
            std::string("grey, ") + name, maker, "uint" + std::to_string(bits),
            {value([mask](double number) { return double(int(number) & mask); })}, "w",
            [mask](int i, int j, int) { return std::uint64_t(ramp(i, j) & mask); }, tolerance);
    }
    FormatLine pages{"TIFF",
                     "second of three pages",
                     [](const std::string& filename) {
                         TIFF* tiff = TIFFOpen(filename.c_str(), "w");
                         for (int page = 0; page < 3; ++page)
                             plainTiff().writePage(
                                 tiff, [page](int i, int j, int) { return std::uint64_t(ramp(i, j) + 50 * page); });
                         TIFFClose(tiff);
                     },
                     "uint8",
                     {value([](double number) { return number + 50; })},
                     0,
                     "",
                     0,
                     1};
    lines.push_back(pages);
    lines.push_back({"TIFF",
                     "grey, JPEG 2000",
                     [](const std::string& f) {
                         writeJpeg2000Tiff(f, 34712, 16, 1, [](int i, int j, int) { return 300 * ramp(i, j); });
                     },
                     "uint16",
                     {value([](double number) { return 300 * number; })}});
    lines.push_back({"TIFF", "brightness and differences, JPEG 2000",
                     [](const std::string& f) { writeJpeg2000Tiff(f, 33003, 8, 3, differences); }, "uint8",
                     coloursOfDifferences});
}

void addJpeg2000(std::vector<FormatLine>& lines) {
    const auto add = [&lines](const std::string& kind, const Jpeg2000Maker& maker, const std::string& values,
                              const std::function<double(int, int, int)>& coded,
                              std::vector<std::function<double(int, int)>> channels) {
        lines.push_back(
            {"JPEG 2000", kind,
             [=](const std::string& f) { maker.write(f, [=](int i, int j, int k) { return int(coded(i, j, k)); }); },
             values, std::move(channels), 0, maker.pixelsPerMetre > 0 ? "meter" : "",
             maker.pixelsPerMetre > 0 ? 1e6 / maker.pixelsPerMetre : 0});
    };
    const auto plain = [](int i, int j, int k) { return double(ramp(i, j, k)); };
    Jpeg2000Maker maker;
    maker.pixelsPerMetre = 100000;
    add("grey", maker, "uint8", plain, {value(same)});
    maker.pixelsPerMetre = 0;
    maker.bits = 12;
    maker.bare = true;
    const auto twelve = [](double number) { return 40 * number; };
    add("grey, bare codestream", maker, "uint12", [=](int i, int j, int) { return twelve(ramp(i, j)); },
        {value(twelve)});
    maker.bits = 16;
    maker.bare = false;
    maker.isSigned = true;
    const auto words = [](double number) { return 300 * (number - 50); };
    add("grey", maker, "int16", [=](int i, int j, int) { return words(ramp(i, j)); }, {value(words)});
    maker = {};
    maker.samples = 2;
    maker.opacity = true;
    add("grey, opacity", maker, "uint8", plain, {value(same), value(same, 1)});
    maker = {};
    maker.samples = 3;
    maker.space = OPJ_CLRSPC_SRGB;
    add("red, green, blue", maker, "uint8", plain, {value(same), value(same, 1), value(same, 2)});
    maker.space = OPJ_CLRSPC_SYCC;
    maker.halved = 1;
    add(
        "brightness, halved differences", maker, "uint8",
        [](int i, int j, int k) { return double(differences(i, j, k)); }, coloursOfDifferences);
}

void addOthers(std::vector<FormatLine>& lines) {
    using namespace ImageBytes;
    const auto greyRows = [](int bits) {
        std::vector<std::string> rows;
        for (int i = 0; i < formatHeight; ++i) {
            rows.emplace_back();
            for (int j = 0; j < formatWidth; ++j)
                rows.back() +=
                    bits == 8 ? std::string(1, char(ramp(i, j))) : number(std::uint16_t(200 * ramp(i, j)), true);
        }
        return rows;
    };
    lines.push_back({"PNG",
                     "grey",
                     [=](const std::string& f) {
                         writePng(f, formatWidth, formatHeight, 8, PNG_COLOR_TYPE_GRAY, greyRows(8), false, {}, 100000);
                     },
                     "uint8",
                     {value(same)},
                     0,
                     "meter",
                     10});
    for (const bool interlaced : {false, true})
        lines.push_back({"PNG",
                         interlaced ? "grey, interlaced" : "grey",
                         [=](const std::string& f) {
                             writePng(f, formatWidth, formatHeight, 16, PNG_COLOR_TYPE_GRAY, greyRows(16), interlaced);
                         },
                         "uint16",
                         {value([](double number) { return 200 * number; })}});
    std::vector<png_color> palette;
    for (int i = 0; i < 256; ++i)
        palette.push_back({png_byte(i), png_byte(255 - i), png_byte(i / 2)});
    lines.push_back(
        {"PNG",
         "palette",
         [=](const std::string& f) {
             writePng(f, formatWidth, formatHeight, 8, PNG_COLOR_TYPE_PALETTE, greyRows(8), false, palette);
         },
         "uint8",
         {value(same), value([](double n) { return 255 - n; }), value([](double n) { return std::floor(n / 2); })}});
    std::vector<std::string> rgba;
    for (int i = 0; i < formatHeight; ++i) {
        rgba.emplace_back();
        for (int j = 0; j < formatWidth; ++j)
            for (int k = 0; k < 4; ++k)
                rgba.back() += char(ramp(i, j, k) & 0xff);
    }
    lines.push_back(
        {"PNG",
         "red, green, blue, alpha",
         [=](const std::string& f) { writePng(f, formatWidth, formatHeight, 8, PNG_COLOR_TYPE_RGB_ALPHA, rgba); },
         "uint8",
         {value(same), value(same, 1), value(same, 2),
          value([](double number) { return double(int(number) & 0xff); }, 3)}});
    std::string samples, colours;
    for (int i = 0; i < formatHeight; ++i)
        for (int j = 0; j < formatWidth; ++j) {
            samples += char(ramp(i, j));
            for (int k = 0; k < 3; ++k)
                colours += char(ramp(i, j));
        }
    lines.push_back({"JPEG",
                     "grey",
                     [=](const std::string& f) { writeJpeg(f, formatWidth, formatHeight, 1, samples, 300); },
                     "uint8",
                     {value(same)},
                     2,
                     "inch",
                     25400.0 / 300});
    lines.push_back({"JPEG",
                     "colours",
                     [=](const std::string& f) { writeJpeg(f, formatWidth, formatHeight, 3, colours); },
                     "uint8",
                     {value(same), value(same), value(same)},
                     3});
    addJpeg2000(lines);
    for (const int bits : {8, 24, 32}) {
        std::string rows; // from below
        for (int i = formatHeight - 1; i >= 0; --i)
            for (int j = 0; j < formatWidth; ++j)
                for (int k = 0; k < bits / 8; ++k)
                    rows += char(ramp(i, j, bits == 8 ? 0 : 2 - k));
        std::string ramps;
        for (int i = 0; bits == 8 && i < 256; ++i)
            ramps += std::string{char(i), char(i), char(i), '\0'};
        std::string header = "BM";
        for (const std::uint32_t word :
             {0u, 0u, 54u + unsigned(ramps.size()), 40u, unsigned(formatWidth), unsigned(formatHeight),
              1u | unsigned(bits) << 16, 0u, 0u, 20000u, 20000u, 0u, 0u})
            header += number(word);
        std::vector<std::function<double(int, int)>> channels = {value(same)};
        if (bits > 8)
            channels.insert(channels.end(), {value(same, 1), value(same, 2)});
        lines.push_back({"BMP", bits == 8 ? "grey" : std::to_string(bits) + " bits of colour",
                         [=](const std::string& f) { writeBytes(f, header + ramps + rows); }, "uint8", channels, 0,
                         "meter", 50});
    }
    const std::string sizes = std::to_string(formatWidth) + " " + std::to_string(formatHeight) + " 2";
    const std::string head = "NRRD0004\n# by a test\ndimension: 3\nsizes: " + sizes +
                             "\nspace: left-posterior-superior\nspace directions: (0.5,0,0) (0,0.25,0) (0,0,2)\n";
    const auto plane1 = value([](double number) { return number + 100; });
    lines.push_back({"NRRD",
                     "volume, raw, second plane",
                     [=](const std::string& f) {
                         writeBytes(f, head + "type: short\nendian: big\nencoding: raw\n\n" +
                                           volumeSamples<std::int16_t>(2, true));
                     },
                     "int16",
                     {plane1},
                     0,
                     "millimeter",
                     0.5,
                     1});
    lines.push_back({"NRRD",
                     "volume, gzip, second plane",
                     [=](const std::string& f) {
                         writeBytes(f, head + "type: float\nendian: little\nencoding: gzip\n\n" +
                                           gzip(volumeSamples<float>(2)));
                     },
                     "float32",
                     {plane1},
                     0,
                     "millimeter",
                     0.5,
                     1});
    for (const bool zipped : {false, true})
        lines.push_back({"NIfTI",
                         zipped ? "volume, gzip, second plane" : "volume, second plane",
                         [=](const std::string& f) {
                             const std::string bytes =
                                 nifti(formatWidth, formatHeight, 2, 4, 16, volumeSamples<std::int16_t>(2));
                             writeBytes(f, zipped ? gzip(bytes) : bytes);
                         },
                         "int16",
                         {plane1},
                         0,
                         "millimeter",
                         0.5,
                         1});
    lines.push_back({"NIfTI",
                     "volume with a scale, big-endian",
                     [=](const std::string& f) {
                         writeBytes(f, nifti(formatWidth, formatHeight, 2, 512, 16,
                                             volumeSamples<std::uint16_t>(2, true), 0.5f, -3, true));
                     },
                     "float32",
                     {value([](double number) { return number / 2 - 3; })},
                     0,
                     "millimeter",
                     0.5,
                     0});
    lines.push_back({"MRC",
                     "volume, second plane",
                     [=](const std::string& f) {
                         writeBytes(f, mrc(formatWidth, formatHeight, 2, 1, volumeSamples<std::int16_t>(2)));
                     },
                     "int16",
                     {plane1},
                     0,
                     "angstrom",
                     2,
                     1});
    lines.push_back({"MRC",
                     "volume, big-endian, second plane",
                     [=](const std::string& f) {
                         writeBytes(f, mrc(formatWidth, formatHeight, 2, 2, volumeSamples<float>(2, true), true));
                     },
                     "float32",
                     {plane1},
                     0,
                     "angstrom",
                     2,
                     1});
    std::string halves; // 1 and a fraction in 1024ths
    for (int i = 0; i < formatHeight; ++i)
        for (int j = 0; j < formatWidth; ++j)
            halves += number(static_cast<std::uint16_t>(0x3c00 + ramp(i, j)));
    lines.push_back({"MRC",
                     "one plane",
                     [=](const std::string& f) { writeBytes(f, mrc(formatWidth, formatHeight, 1, 12, halves)); },
                     "float16",
                     {value([](double number) { return 1 + number / 1024; })},
                     0,
                     "angstrom",
                     2,
                     0});
}

void addDicom(std::vector<FormatLine>& lines) {
    DicomMaker plain;
    plain.width = formatWidth;
    plain.height = formatHeight;
    const auto add = [&lines](const std::string& kind, const DicomMaker& maker, const std::string& values,
                              std::vector<std::function<double(int, int)>> channels, double tolerance = 0,
                              int page = 0) {
        lines.push_back({"DICOM", kind, [bytes = maker.bytes()](const std::string& f) { writeBytes(f, bytes); }, values,
                         std::move(channels), tolerance, "millimeter", 0.5, page});
    };
    std::vector<int> signedSamples, words, twoFrames;
    std::string dots, high, low;
    for (const int frame : {0, 1})
        for (int i = 0; i < formatHeight; ++i)
            for (int j = 0; j < formatWidth; ++j)
                twoFrames.push_back(ramp(i, j) + 100 * frame);
    for (int i = 0; i < formatHeight; ++i)
        for (int j = 0; j < formatWidth; ++j) {
            signedSamples.push_back(200 * ramp(i, j) - 10000);
            words.push_back(10 * ramp(i, j));
            dots += char(ramp(i, j));
            high += char(10 * ramp(i, j) >> 8);
            low += char(10 * ramp(i, j) & 255);
        }
    DicomMaker maker = plain;
    maker.pixels = DicomMaker::samples(signedSamples);
    add("grey", maker, "int16", {value([](double number) { return 200 * number - 10000; })});
    maker = plain;
    maker.frames = 2;
    maker.pixels = DicomMaker::samples(twoFrames);
    add("grey, second of two frames", maker, "int16", {value([](double number) { return number + 100; })}, 0, 1);
    maker = plain;
    maker.isSigned = false;
    maker.stored = 12;
    maker.pixels = DicomMaker::samples(words);
    maker.slope = "1";
    maker.intercept = "-1024";
    add("grey, 12 bits, rescaled", maker, "int16", {value([](double number) { return 10 * number - 1024; })});
    maker.slope = "0.25";
    add("grey, 12 bits, rescaled by a fraction", maker, "float32",
        {value([](double number) { return 2.5 * number - 1024; })});
    maker.slope = maker.intercept = "";
    maker.photometric = "MONOCHROME1";
    add("grey, least is white", maker, "uint12", {value([](double number) { return 4095 - 10 * number; })});
    maker.photometric = "MONOCHROME2";
    maker.syntax = "1.2.840.10008.1.2.5";
    maker.fragments = std::vector<std::string>{DicomMaker::runLengths({high, low})};
    add("grey, run lengths", maker, "uint12", {value([](double number) { return 10 * number; })});
    maker = plain;
    maker.isSigned = false;
    maker.allocated = maker.stored = 8;
    maker.samplesPerPixel = 3;
    maker.photometric = "RGB";
    maker.planar = 1;
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < formatHeight; ++i)
            for (int j = 0; j < formatWidth; ++j)
                maker.pixels += char(ramp(i, j, k));
    add("red, green, blue in planes", maker, "uint8", {value(same), value(same, 1), value(same, 2)});
    const TemporaryFolder folder;
    ImageBytes::writeJpeg(folder.file("a.jpg"), formatWidth, formatHeight, 1, dots);
    maker = plain;
    maker.isSigned = false;
    maker.allocated = maker.stored = 8;
    maker.syntax = "1.2.840.10008.1.2.4.50";
    maker.fragments = std::vector<std::string>{folder.read("a.jpg")};
    add("grey, JPEG", maker, "uint8", {value(same)}, 3);
    // Each frame in two fragments, without a table of their places.
    maker = plain;
    maker.isSigned = false;
    maker.stored = 12;
    maker.frames = 2;
    maker.syntax = "1.2.840.10008.1.2.4.90";
    maker.fragments = std::vector<std::string>();
    Jpeg2000Maker coder;
    coder.bits = 12;
    coder.bare = true;
    for (const int frame : {0, 1}) {
        const std::string coded =
            jpeg2000Bytes(coder, [frame](int i, int j, int) { return 10 * ramp(i, j) + 7 * frame; });
        maker.fragments->push_back(coded.substr(0, coded.size() / 4 * 2));
        maker.fragments->push_back(coded.substr(coded.size() / 4 * 2));
    }
    add("grey, JPEG 2000, second of two frames", maker, "uint12", {value([](double n) { return 10 * n + 7; })}, 0, 1);
}

/// Reads the file of the line both ways, as statistics and as an image.
void expectLine(const FormatLine& line, const std::string& filename) {
    SCOPED_TRACE(line.format + ", " + line.kind + ", " + line.values);
    line.write(filename);
    const PixelStatistics statistics = ImageReader().measure(filename, line.page, 0);
    EXPECT_EQ(statistics.values, line.values);
    ASSERT_EQ(statistics.channels.size(), line.channels.size());
    for (std::size_t k = 0; k < line.channels.size(); ++k) {
        double least = INFINITY, greatest = -INFINITY, sum = 0;
        for (int i = 0; i < formatHeight; ++i)
            for (int j = 0; j < formatWidth; ++j) {
                const double expected = line.channels[k](i, j);
                least = std::min(least, expected);
                greatest = std::max(greatest, expected);
                sum += expected;
            }
        EXPECT_NEAR(statistics.channels[k].min, least, line.tolerance);
        EXPECT_NEAR(statistics.channels[k].max, greatest, line.tolerance);
        EXPECT_NEAR(statistics.channels[k].mean(), sum / (formatWidth * formatHeight), line.tolerance + 1e-9);
        // Each value at its own place, as a channel alone.
        Image image;
        if (line.kind.find("palette") != std::string::npos)
            continue;
        ImageReader().read(image, filename, line.page, int(k) + 1);
        const PixelStatistics unit = measure(image);
        for (int i = 0; i < formatHeight; ++i)
            for (int j = 0; j < formatWidth; ++j) {
                const double stretch = line.values.size() == 5 && line.values[0] == 'u' && line.values[4] < '8'
                                           ? 255 / (std::exp2(line.values[4] - '0') - 1)
                                           : 1;
                const unsigned char* const pixel = image.getPixels()[i];
                const double read = image.isReal()           ? double(image.realRow(i)[j])
                                    : image.getDepth() == 16 ? pixel[2 * j] + 256.0 * pixel[2 * j + 1]
                                                             : pixel[j];
                ASSERT_NEAR(read, line.channels[k](i, j) * stretch, line.tolerance * 2 + 1e-6) << i << ' ' << j;
            }
    }
    ImageHeader header;
    ImageReader().read(header, filename, line.page, 0);
    EXPECT_EQ(header.getWidth(), formatWidth);
    EXPECT_EQ(header.getHeight(), formatHeight);
    const StackLayout layout = ImageFile::open(filename)->getLayout();
    EXPECT_EQ(layout.pixelWidth.has_value(), !line.unit.empty());
    if (layout.pixelWidth) {
        EXPECT_NEAR(*layout.pixelWidth, line.pixelWidth, 1e-4 * line.pixelWidth);
    }
}

std::string tableOf(const std::vector<FormatLine>& lines) {
    std::ostringstream table;
    table << "| Format | Kind | Values | Opened | Values compared | Unit of the pixel |\n|---|---|---|---|---|---|\n";
    for (const FormatLine& line : lines)
        table << "| " << line.format << " | " << line.kind << " | " << line.values << " | yes | "
              << (line.tolerance == 0  ? "equal"
                  : line.tolerance < 1 ? "equal but for rounding"
                                       : "near, as it loses some")
              << " | " << (line.unit.empty() ? "-" : line.unit) << " |\n";
    return table.str();
}

} // namespace

// The table of the guide says what has been read here, and nothing else. With VORLEN_WRITE_FORMATS the test writes it.
TEST(Formats, everyLineOfTheTableIsReadAndEqualsWhatWasWritten) {
    const TemporaryFolder folder;
    std::vector<FormatLine> lines;
    addTiff(lines);
    addOthers(lines);
    addDicom(lines);
    for (const FormatLine& line : lines)
        expectLine(line, folder.file("a.img-of-a-test"));
    const std::string begin = "<!-- table: written by the test of formats -->\n", end = "<!-- end of table -->\n";
    std::ifstream in(VORLEN_FORMATS, std::ios::binary);
    std::string page((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::size_t from = page.find(begin), to = page.find(end);
    ASSERT_TRUE(from != std::string::npos && to != std::string::npos && from < to) << VORLEN_FORMATS;
    const std::string table = tableOf(lines);
    if (std::getenv("VORLEN_WRITE_FORMATS") != nullptr) {
        page.replace(from + begin.size(), to - from - begin.size(), table);
        std::ofstream(VORLEN_FORMATS, std::ios::binary) << page;
    } else {
        EXPECT_EQ(page.substr(from + begin.size(), to - from - begin.size()), table);
    }
}

// Every cut of a file of each format is read or told of with the file's name, and so is a flip of each of its bytes.
TEST(Formats, damagedFilesOfEveryFormatAreToldOfByName) {
    const TemporaryFolder folder;
    const std::string file = folder.file("a.img-of-a-test");
    std::vector<FormatLine> lines;
    addOthers(lines);
    addDicom(lines);
    for (const FormatLine& line : lines) {
        line.write(file);
        const std::string whole = folder.read("a.img-of-a-test");
        const auto tryOut = [&](const std::string& bytes) {
            folder.write("a.img-of-a-test", bytes);
            try {
                Image image;
                ImageReader().read(image, file, line.page, 0);
                EXPECT_GT(image.dataLength(), 0u);
                return false;
            } catch (const FileError& error) {
                EXPECT_EQ(error.getFile(), file) << line.format;
            } catch (const RangeError&) { // a page that there is not any more
            }
            return true;
        };
        int failures = 0;
        for (std::size_t length = 0; length < whole.size(); length += 1 + whole.size() / 40)
            failures += tryOut(whole.substr(0, length));
        EXPECT_GT(failures, 20) << line.format << ' ' << line.kind;
        for (std::size_t at = 0; at < whole.size(); at += 1 + whole.size() / 80) {
            std::string bytes = whole;
            bytes[at] = char(bytes[at] ^ 0xa5);
            tryOut(bytes);
        }
    }
}

TEST(Formats, exifTurnsAJpegUprightAndInksOfOneBecomeColours) {
    const TemporaryFolder folder;
    std::string samples;
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 16; ++j)
            samples += char(i < 4 ? 200 : 20);
    ImageBytes::writeJpeg(folder.file("a.jpg"), 16, 8, 1, samples, 0, 6);
    const Image turned(folder.file("a.jpg"), "");
    ASSERT_EQ(turned.getWidth(), 8);
    ASSERT_EQ(turned.getHeight(), 16);
    EXPECT_NEAR(turned.getPixels()[8][7], 200, 3); // the first row is at the right
    EXPECT_NEAR(turned.getPixels()[8][0], 20, 3);
    ImageBytes::writeJpeg(folder.file("b.jpg"), 16, 8, 4, std::string(16 * 8 * 4, char(255)));
    const Image inks(folder.file("b.jpg"), ""); // as Adobe's writers have it, 255 is no ink
    ASSERT_EQ(inks.getDepth(), 24);
    EXPECT_NEAR(inks.getPixels()[3][3], 255, 2);
}

} // namespace vorlen
