#pragma once

#include "images/rasters/image.h"

#include <cstdint>
#include <string>

#include <tiffio.h>

namespace vorlen {

namespace TestImages {

/// Image whose byte k has the value (a*k + b) mod 256.
inline Image ramp(int width, int height, int depth, int a = 7, int b = 3) {
    Image image(width, height, depth);
    for (std::size_t k = 0; k < image.dataLength(); ++k)
        image.getData()[k] = static_cast<unsigned char>(a * static_cast<int>(k % 65536) + b);
    return image;
}

inline Image uniform(int width, int height, int depth, unsigned char value) {
    Image image(width, height, depth);
    for (std::size_t k = 0; k < image.dataLength(); ++k)
        image.getData()[k] = value;
    return image;
}

/// Map of 256 entries with red i, green 255-i and blue i/2.
inline Colormap colors() {
    Colormap colormap(256);
    for (int i = 0; i < 256; ++i) {
        colormap.getRed()[i] = static_cast<unsigned char>(i);
        colormap.getGreen()[i] = static_cast<unsigned char>(255 - i);
        colormap.getBlue()[i] = static_cast<unsigned char>(i / 2);
    }
    return colormap;
}

inline bool samePixels(const Image& first, const Image& second) {
    return first.getSize() == second.getSize() && first.getDepth() == second.getDepth() &&
           std::string(reinterpret_cast<const char*>(first.getData()), first.dataLength()) ==
               std::string(reinterpret_cast<const char*>(second.getData()), second.dataLength());
}

/// What a test may want to be odd about a TIFF file.
struct TiffRecipe {
    int width = 5;
    int height = 4;
    int bits = 8;
    int samples = 1;
    int photometric = PHOTOMETRIC_MINISBLACK;
    int planar = PLANARCONFIG_CONTIG;
    int compression = COMPRESSION_NONE;
    int rowsPerStrip = 0; ///< 0: one strip
    float resolution = 0; ///< 0: no tag
    const char* mode = "w";
};

/// Writes a TIFF file by libtiff alone; byte k of row i has the value (31*i + 7*k) mod 256.
inline void writeTiff(const std::string& filename, const TiffRecipe& recipe) {
    TIFF* tiff = TIFFOpen(filename.c_str(), recipe.mode);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, recipe.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, recipe.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, recipe.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, recipe.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, recipe.photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, recipe.planar);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, recipe.compression);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, recipe.rowsPerStrip > 0 ? recipe.rowsPerStrip : recipe.height);
    if (recipe.resolution > 0) {
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, recipe.resolution);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, recipe.resolution);
    }
    if (recipe.photometric == PHOTOMETRIC_PALETTE) {
        std::uint16_t table[256];
        for (int i = 0; i < 256; ++i)
            table[i] = static_cast<std::uint16_t>(i * 256 + 77);
        TIFFSetField(tiff, TIFFTAG_COLORMAP, table, table, table);
    }
    const int planes = recipe.planar == PLANARCONFIG_SEPARATE ? recipe.samples : 1;
    std::string row(static_cast<std::size_t>(TIFFScanlineSize(tiff)), '\0');
    for (int plane = 0; plane < planes; ++plane) {
        for (int i = 0; i < recipe.height; ++i) {
            for (std::size_t k = 0; k < row.size(); ++k)
                row[k] = static_cast<char>(31 * i + 7 * static_cast<int>(k));
            TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(i), static_cast<std::uint16_t>(plane));
        }
    }
    TIFFClose(tiff);
}

} // namespace TestImages

} // namespace vorlen
