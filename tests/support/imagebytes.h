#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <jpeglib.h>
#include <png.h>
#include <zlib.h>

namespace vorlen {

/// Image files in memory, as the formats' own libraries or their descriptions have them, for readers to be tried on.
namespace ImageBytes {

/// A number with its bytes in this order.
template <class Number>
std::string number(Number value, bool bigEndian = false) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bigEndian ? std::string(bytes.rbegin(), bytes.rend()) : bytes;
}

template <class Number>
void put(std::string& bytes, std::size_t at, Number value, bool bigEndian = false) {
    bytes.replace(at, sizeof value, number(value, bigEndian));
}

inline std::string gzip(const std::string& bytes) {
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, bytes.size()) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

/// Rows of packed samples, with 16 bits in the big-endian order; a palette of reds, greens and blues for indexes.
inline void writePng(const std::string& filename, int width, int height, int bits, int colours,
                     const std::vector<std::string>& rows, bool interlaced = false,
                     const std::vector<png_color>& palette = {}, unsigned perMeter = 0) {
    std::FILE* file = std::fopen(filename.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, png_uint_32(width), png_uint_32(height), bits, colours,
                 interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (!palette.empty())
        png_set_PLTE(png, info, palette.data(), int(palette.size()));
    if (perMeter > 0)
        png_set_pHYs(png, info, perMeter, perMeter, PNG_RESOLUTION_METER);
    png_write_info(png, info);
    std::vector<png_bytep> pointers;
    pointers.reserve(rows.size());
    for (const std::string& row : rows)
        pointers.push_back(reinterpret_cast<png_bytep>(const_cast<char*>(row.data())));
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

/// Samples row by row; colours 1, 3 or 4 (inks). Exif with an orientation above 0.
inline void writeJpeg(const std::string& filename, int width, int height, int colours, const std::string& samples,
                      int dotsPerInch = 0, int orientation = 0) {
    std::FILE* file = std::fopen(filename.c_str(), "wb");
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    jpeg_stdio_dest(&jpeg, file);
    jpeg.image_width = JDIMENSION(width);
    jpeg.image_height = JDIMENSION(height);
    jpeg.input_components = colours;
    jpeg.in_color_space = colours == 1 ? JCS_GRAYSCALE : colours == 3 ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 100, TRUE);
    jpeg.density_unit = dotsPerInch > 0 ? 1 : 0;
    jpeg.X_density = jpeg.Y_density = UINT16(std::max(dotsPerInch, 1));
    jpeg_start_compress(&jpeg, TRUE);
    if (orientation > 0) {
        std::string exif = std::string("Exif\0\0", 6) + "II" + number(std::uint16_t(42)) + number(std::uint32_t(8)) +
                           number(std::uint16_t(1)) + number(std::uint16_t(274)) + number(std::uint16_t(3)) +
                           number(std::uint32_t(1)) + number(std::uint32_t(orientation)) + number(std::uint32_t(0));
        jpeg_write_marker(&jpeg, JPEG_APP0 + 1, reinterpret_cast<const JOCTET*>(exif.data()), unsigned(exif.size()));
    }
    for (int row = 0; row < height; ++row) {
        auto* at = reinterpret_cast<JSAMPROW>(const_cast<char*>(samples.data() + row * width * colours));
        jpeg_write_scanlines(&jpeg, &at, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    std::fclose(file);
}

/// A header of NIfTI-1 for a file of its own, with the samples behind it.
inline std::string nifti(int width, int height, int planes, int code, int bits, const std::string& samples,
                         float slope = 0, float intercept = 0, bool bigEndian = false) {
    std::string header(352, '\0');
    put(header, 0, std::int32_t(348), bigEndian);
    const std::int16_t sizes[] = {3, std::int16_t(width), std::int16_t(height), std::int16_t(planes)};
    for (std::size_t i = 0; i < 4; ++i)
        put(header, 40 + 2 * i, sizes[i], bigEndian);
    put(header, 70, std::int16_t(code), bigEndian);
    put(header, 72, std::int16_t(bits), bigEndian);
    const float lengths[] = {1, 0.5f, 0.25f, 2};
    for (std::size_t i = 0; i < 4; ++i)
        put(header, 76 + 4 * i, lengths[i], bigEndian);
    put(header, 108, 352.0f, bigEndian);
    put(header, 112, slope, bigEndian);
    put(header, 116, intercept, bigEndian);
    header[123] = 2; // millimeters
    header.replace(344, 4, std::string("n+1\0", 4));
    return header + samples;
}

/// A header of MRC2014 with the samples behind it; a voxel is 20 angstroms wide, 30 high and 40 deep.
inline std::string mrc(int width, int height, int planes, int mode, const std::string& samples,
                       bool bigEndian = false) {
    std::string header(1024, '\0');
    const std::int32_t sizes[] = {width, height, planes};
    for (std::size_t i = 0; i < 3; ++i) {
        put(header, 4 * i, sizes[i], bigEndian);
        put(header, 28 + 4 * i, sizes[i], bigEndian);
        put(header, 40 + 4 * i, float(sizes[i]) * float(20 + 10 * int(i)), bigEndian);
    }
    put(header, 12, std::int32_t(mode), bigEndian);
    header.replace(208, 4, "MAP ");
    header[212] = header[213] = bigEndian ? 0x11 : 0x44;
    return header + samples;
}

} // namespace ImageBytes

} // namespace vorlen
