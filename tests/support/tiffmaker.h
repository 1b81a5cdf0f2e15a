#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <tiffio.h>

namespace vorlen {

/// Writes TIFF files of all kinds by libtiff alone, for readers to be tried on. Pages are written one after the other.
struct TiffMaker {
    /// The bits of a sample by row, column and sample.
    using Samples = std::function<std::uint64_t(int, int, int)>;

    int width = 5;
    int height = 4;
    int samples = 1;
    int bits = 8;
    int format = SAMPLEFORMAT_UINT;
    int photometric = PHOTOMETRIC_MINISBLACK;
    int planar = PLANARCONFIG_CONTIG;
    int compression = COMPRESSION_NONE;
    int rowsPerStrip = 0; ///< 0: one strip
    int tile = 0;         ///< side of the tiles; 0: strips
    int orientation = 0;  ///< 0: no tag
    int extra = -1;       ///< kind of the samples beyond the colours; -1: no tag
    int unit = 0;         ///< of the resolution; 0: no tag
    float xResolution = 0, yResolution = 0;
    std::string description;
    std::vector<std::uint16_t> palette; ///< reds, then greens, then blues

    void write(const std::string& filename, const Samples& sample, const char* mode = "w") const {
        TIFF* tiff = TIFFOpen(filename.c_str(), mode);
        writePage(tiff, sample);
        TIFFClose(tiff);
    }

    void writePage(TIFF* tiff, const Samples& sample) const {
        setTags(tiff);
        const bool separate = planar == PLANARCONFIG_SEPARATE;
        const int inRow = separate ? 1 : samples;
        const int side = tile > 0 ? tile : width;
        for (int plane = 0; plane < (separate ? samples : 1); ++plane)
            if (tile > 0)
                for (int top = 0; top < height; top += tile)
                    for (int left = 0; left < width; left += tile) {
                        std::string bytes;
                        for (int i = top; i < top + tile; ++i)
                            bytes += rowOf(sample, i, left, side, plane, inRow);
                        TIFFWriteTile(tiff, bytes.data(), std::uint32_t(left), std::uint32_t(top), 0,
                                      std::uint16_t(plane));
                    }
            else if (compression == COMPRESSION_JBIG) { // which takes no rows
                std::string bytes;
                for (int i = 0; i < height; ++i)
                    bytes += rowOf(sample, i, 0, side, plane, inRow);
                TIFFWriteEncodedStrip(tiff, std::uint32_t(plane), bytes.data(), tmsize_t(bytes.size()));
            } else
                for (int i = 0; i < height; ++i) {
                    std::string bytes = rowOf(sample, i, 0, side, plane, inRow);
                    TIFFWriteScanline(tiff, bytes.data(), std::uint32_t(i), std::uint16_t(plane));
                }
        TIFFWriteDirectory(tiff);
    }

private:
    void setTags(TIFF* tiff) const {
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
        TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, format);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, planar);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
        if (tile > 0) {
            TIFFSetField(tiff, TIFFTAG_TILEWIDTH, tile);
            TIFFSetField(tiff, TIFFTAG_TILELENGTH, tile);
        } else {
            TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip > 0 ? rowsPerStrip : height);
        }
        if (orientation > 0)
            TIFFSetField(tiff, TIFFTAG_ORIENTATION, orientation);
        if (extra >= 0) {
            const std::vector<std::uint16_t> kinds(std::size_t(samples) - (photometric == PHOTOMETRIC_RGB ? 3 : 1),
                                                   std::uint16_t(extra));
            TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, int(kinds.size()), kinds.data());
        }
        if (unit > 0)
            TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, unit);
        if (xResolution > 0)
            TIFFSetField(tiff, TIFFTAG_XRESOLUTION, double(xResolution));
        if (yResolution > 0)
            TIFFSetField(tiff, TIFFTAG_YRESOLUTION, double(yResolution));
        if (!description.empty())
            TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, description.c_str());
        if (!palette.empty()) {
            const std::size_t size = palette.size() / 3;
            TIFFSetField(tiff, TIFFTAG_COLORMAP, palette.data(), palette.data() + size, palette.data() + 2 * size);
        }
    }

    /// Samples of whole bytes in the machine's order (a little-endian one), others packed from the highest bit on. What
    /// is outside of the picture is 0.
    std::string rowOf(const Samples& sample, int row, int left, int count, int plane, int inRow) const {
        std::string bytes;
        int used = 8; // bits of the last byte
        for (int j = left; j < left + count; ++j)
            for (int k = 0; k < inRow; ++k) {
                const bool inside = row < height && j < width;
                const std::uint64_t value = inside ? sample(row, j, plane + k) : 0;
                if (bits % 8 == 0) {
                    bytes.append(reinterpret_cast<const char*>(&value), std::size_t(bits / 8));
                    continue;
                }
                for (int b = bits - 1; b >= 0; --b) {
                    if (used == 8) {
                        bytes += '\0';
                        used = 0;
                    }
                    bytes.back() = char(bytes.back() | int(value >> b & 1) << (7 - used++));
                }
            }
        return bytes;
    }
};

/// The bits of a number, by its own bytes.
template <class Number>
std::uint64_t bitsOf(Number number) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof number);
    return bits;
}

} // namespace vorlen
