#include <algorithm>
#include <cerrno>
#include <vector>

#include <unistd.h>

#include "images/files/samplecoding.h"
#include "images/files/samplesink.h"
#include "images/files/tifffile.h"
#include "images/files/tiffrows.h"
#include "numerics/exception.h"

// The pixels of a picture that is read from end to end.

namespace vorlen {

/// Whether a picture of tiles that are shared or left out can be read from end to end: a row of tiles at a time, in
/// bounded memory and time.
bool TiffPicture::canBeStreamed() const {
    constexpr std::uint64_t greatestBand = std::uint64_t(256) << 20, greatestPicture = std::uint64_t(16) << 30;
    const std::uint64_t row = std::uint64_t(width) * std::uint64_t(numFileSamples) * bytesOf(page.storage);
    const PictureLevel tiles = allBlocks();
    return TIFFIsTiled(tiff) != 0 && row * std::uint64_t(std::min(tiles.blockHeight, height)) <= greatestBand &&
           row * std::uint64_t(height) <= greatestPicture;
}

void TiffPicture::read(SampleSink& sink) const {
    if (!canBeStreamed())
        requireWhole();
    Rows rows(*this, sink);
    const bool tiled = TIFFIsTiled(tiff) != 0;
    if (conversion == ByLibtiff)
        tiled ? readColourTiles(rows) : readColourStrips(rows);
    else if (isJpeg2000(compression))
        readPart({0, 0, width, height}, sink);
    else if (tiled)
        readTiles(rows);
    else if (compression == COMPRESSION_JBIG)
        readWholeStrips(rows);
    else if (separate)
        readSeparateStrips(rows);
    else
        readStrips(rows);
}

void TiffPicture::fail(const std::string& what, int row) const {
    throw FileReadError(tiffPixelPlace,
                        "Cannot read " + what + " " + std::to_string(row) + " of TIFF" + TiffFile::reason(tiff),
                        TIFFFileName(tiff));
}

/// Row by row, so that a picture in one strip is not decoded into a second place first.
void TiffPicture::readStrips(Rows& rows) const {
    const std::size_t count = std::size_t(width) * std::size_t(numFileSamples);
    const tmsize_t scanline = TIFFScanlineSize(tiff);
    if (scanline < static_cast<tmsize_t>(rows.packedLength(count)))
        throw FileFormatError(tiffPixelPlace, "Cannot read TIFF with subsampled colours", TIFFFileName(tiff));
    const bool exact = static_cast<std::size_t>(scanline) == rows.fileRowLength;
    if (rows.isDirect && exact && readPlainStrips(rows))
        return;
    std::vector<unsigned char> packed, samples;
    for (int row = 0; row < height; ++row) {
        unsigned char* target = rows.isDirect && exact ? rows.out.target(row) : nullptr;
        const bool straight = target != nullptr;
        if (!straight) {
            packed.resize(static_cast<std::size_t>(scanline));
            target = packed.data();
        }
        if (TIFFReadScanline(tiff, target, std::uint32_t(row), 0) < 0)
            fail("row", row);
        if (!straight && !(rows.isDirect && exact)) {
            samples.resize(rows.fileRowLength);
            unpackSamples(packed.data(), count, rows.type, samples.data(), 1);
            target = samples.data();
        }
        if (!rows.put(row, target))
            return;
    }
}

/// Rows without compression that the sink takes just as they are, and one behind the other: from the file straight to
/// where they belong, where libtiff would copy each once more. False, with nothing done, where this is not so.
bool TiffPicture::readPlainStrips(Rows& rows) const {
    const std::size_t length = rows.fileRowLength;
    const std::uint32_t asked = std::max(tiffTag<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, 0), 1u);
    const int rowsPerStrip = static_cast<int>(std::min<std::uint32_t>(asked, std::uint32_t(height)));
    if (compression != COMPRESSION_NONE || (TIFFIsByteSwapped(tiff) && page.values.bits > 8) ||
        tiffTag<std::uint16_t>(tiff, TIFFTAG_FILLORDER, FILLORDER_MSB2LSB) != FILLORDER_MSB2LSB ||
        rows.out.target(0) == nullptr ||
        rows.out.target(height - 1) != rows.out.target(0) + length * std::size_t(height - 1))
        return false;
    for (int top = 0; top < height; top += rowsPerStrip)
        if (TIFFGetStrileByteCount(tiff, TIFFComputeStrip(tiff, std::uint32_t(top), 0)) <
            length * std::size_t(std::min(rowsPerStrip, height - top)))
            return false;
    // Some rows at a time, so that a wish to cancel is heard.
    const int rowsTogether = static_cast<int>(std::clamp<std::size_t>((std::size_t(1) << 20) / length, 1, 1 << 20));
    for (int top = 0, numRows = 0; top < height; top += numRows) {
        const int inStrip = top % rowsPerStrip;
        numRows = std::min({rowsTogether, rowsPerStrip - inStrip, height - top});
        const std::uint64_t offset =
            TIFFGetStrileOffset(tiff, TIFFComputeStrip(tiff, std::uint32_t(top), 0)) + length * std::size_t(inStrip);
        unsigned char* const target = rows.out.target(top);
        const std::size_t total = length * std::size_t(numRows);
        for (std::size_t done = 0; done < total;) {
            const ssize_t got =
                ::pread(TIFFFileno(tiff), target + done, total - done, static_cast<off_t>(offset + done));
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                fail("row", top + static_cast<int>(done / length));
            done += static_cast<std::size_t>(got);
        }
        for (int i = 0; i < numRows; ++i)
            if (!rows.put(top + i, target + length * std::size_t(i)))
                return true;
    }
    return true;
}

/// For a codec that gives no rows.
void TiffPicture::readWholeStrips(Rows& rows) const {
    const std::size_t count = std::size_t(width) * std::size_t(numFileSamples);
    const auto scanline = static_cast<std::size_t>(TIFFScanlineSize(tiff));
    const std::uint32_t asked = tiffTag<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, 0);
    const int rowsPerStrip = static_cast<int>(std::min<std::uint32_t>(std::max(asked, 1u), std::uint32_t(height)));
    std::vector<unsigned char> strip(scanline * std::size_t(rowsPerStrip)), samples(rows.fileRowLength);
    if (separate || scanline < rows.packedLength(count))
        throw FileFormatError(tiffPixelPlace, "Cannot read TIFF with this compression and several planes",
                              TIFFFileName(tiff));
    for (int top = 0; top < height; top += rowsPerStrip) {
        const int numRows = std::min(rowsPerStrip, height - top);
        const auto length = static_cast<tmsize_t>(scanline * std::size_t(numRows));
        if (TIFFReadEncodedStrip(tiff, TIFFComputeStrip(tiff, std::uint32_t(top), 0), strip.data(), length) != length)
            fail("row", top);
        for (int i = 0; i < numRows; ++i) {
            unpackSamples(&strip[scanline * std::size_t(i)], count, rows.type, samples.data(), 1);
            if (!rows.put(top + i, samples.data()))
                return;
        }
    }
}

/// One plane after the other, since their strips are decoded from their beginnings.
void TiffPicture::readSeparateStrips(Rows& rows) const {
    const tmsize_t scanline = TIFFScanlineSize(tiff);
    if (scanline < static_cast<tmsize_t>(rows.packedLength(std::size_t(width))))
        throw FileFormatError(tiffPixelPlace, "Cannot read TIFF with subsampled colours", TIFFFileName(tiff));
    std::vector<unsigned char> packed(static_cast<std::size_t>(scanline));
    std::vector<unsigned char> all(rows.fileRowLength * std::size_t(height));
    for (int sample = 0; sample < numFileSamples; ++sample)
        for (int row = 0; row < height; ++row) {
            if (TIFFReadScanline(tiff, packed.data(), std::uint32_t(row), static_cast<std::uint16_t>(sample)) < 0)
                fail("row", row);
            unsigned char* const target =
                &all[std::size_t(row) * rows.fileRowLength + std::size_t(sample) * rows.sampleLength];
            unpackSamples(packed.data(), std::size_t(width), rows.type, target, std::size_t(numFileSamples));
        }
    for (int row = 0; row < height; ++row)
        if (!rows.put(row, &all[std::size_t(row) * rows.fileRowLength]))
            return;
}

/// A row of tiles at a time.
void TiffPicture::readTiles(Rows& rows) const {
    const int tileWidth = static_cast<int>(tiffTag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH, 1));
    const int tileHeight = static_cast<int>(tiffTag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH, 1));
    const int numInTile = separate ? 1 : numFileSamples;
    const tmsize_t tileLength = TIFFTileSize(tiff), tileRow = TIFFTileRowSize(tiff);
    if (tileRow < static_cast<tmsize_t>(rows.packedLength(std::size_t(tileWidth) * std::size_t(numInTile))) ||
        tileLength < tileRow * tileHeight)
        throw FileFormatError(tiffPixelPlace, "Cannot read TIFF with subsampled colours", TIFFFileName(tiff));
    std::vector<unsigned char> tile(static_cast<std::size_t>(tileLength));
    std::vector<unsigned char> band;
    std::vector<unsigned char*> targets(static_cast<std::size_t>(std::min(tileHeight, height)));
    const std::size_t pixelLength = std::size_t(numFileSamples) * rows.sampleLength;
    for (int top = 0; top < height; top += tileHeight) {
        const int numRows = std::min(tileHeight, height - top);
        for (int i = 0; i < numRows; ++i) {
            unsigned char*& target = targets[std::size_t(i)];
            target = rows.isDirect ? rows.out.target(top + i) : nullptr;
            if (target == nullptr) {
                band.resize(rows.fileRowLength * std::size_t(std::min(tileHeight, height)));
                target = &band[std::size_t(i) * rows.fileRowLength];
            }
        }
        for (int sample = 0; sample < (separate ? numFileSamples : 1); ++sample)
            for (int left = 0; left < width; left += tileWidth) {
                const auto index = TIFFComputeTile(tiff, std::uint32_t(left), std::uint32_t(top), 0,
                                                   static_cast<std::uint16_t>(sample));
                if (TIFFGetStrileByteCount(tiff, index) == 0)
                    std::fill(tile.begin(), tile.end(), static_cast<unsigned char>(0));
                else if (TIFFReadEncodedTile(tiff, index, tile.data(), tileLength) < 0)
                    fail("the tile at row", top);
                const std::size_t count = std::size_t(std::min(tileWidth, width - left)) * std::size_t(numInTile);
                const std::size_t at = std::size_t(left) * pixelLength + std::size_t(sample) * rows.sampleLength;
                for (int i = 0; i < numRows; ++i)
                    unpackSamples(&tile[std::size_t(i) * std::size_t(tileRow)], count, rows.type,
                                  targets[std::size_t(i)] + at, separate ? std::size_t(numFileSamples) : 1);
            }
        for (int i = 0; i < numRows; ++i)
            if (!rows.put(top + i, targets[std::size_t(i)]))
                return;
    }
}

/// libtiff hands out a strip from its last row to its first.
void TiffPicture::readColourStrips(Rows& rows) const {
    const std::uint32_t asked = tiffTag<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, 0);
    const int rowsPerStrip = static_cast<int>(std::min<std::uint32_t>(std::max(asked, 1u), std::uint32_t(height)));
    std::vector<std::uint32_t> raster(std::size_t(width) * std::size_t(rowsPerStrip));
    std::vector<unsigned char> colours(3 * std::size_t(width));
    for (int top = 0; top < height; top += rowsPerStrip) {
        if (!TIFFReadRGBAStripExt(tiff, std::uint32_t(top), raster.data(), 1))
            fail("row", top);
        const int numRows = std::min(rowsPerStrip, height - top);
        for (int i = 0; i < numRows; ++i) {
            takeColours(&raster[std::size_t(numRows - 1 - i) * std::size_t(width)], width, colours.data());
            if (!rows.put(top + i, colours.data()))
                return;
        }
    }
}

void TiffPicture::readColourTiles(Rows& rows) const {
    const int tileWidth = static_cast<int>(tiffTag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH, 1));
    const int tileHeight = static_cast<int>(tiffTag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH, 1));
    std::vector<std::uint32_t> raster(std::size_t(tileWidth) * std::size_t(tileHeight));
    const std::size_t length = 3 * std::size_t(width);
    std::vector<unsigned char> band(length * std::size_t(std::min(tileHeight, height)));
    for (int top = 0; top < height; top += tileHeight) {
        const int numRows = std::min(tileHeight, height - top);
        for (int left = 0; left < width; left += tileWidth) {
            if (!TIFFReadRGBATileExt(tiff, std::uint32_t(left), std::uint32_t(top), raster.data(), 1))
                fail("the tile at row", top);
            for (int i = 0; i < numRows; ++i)
                takeColours(&raster[std::size_t(tileHeight - 1 - i) * std::size_t(tileWidth)],
                            std::min(tileWidth, width - left), &band[std::size_t(i) * length + 3 * std::size_t(left)]);
        }
        for (int i = 0; i < numRows; ++i)
            if (!rows.put(top + i, &band[std::size_t(i) * length]))
                return;
    }
}

void TiffPicture::readContiguous(std::uint64_t offset, SampleSink& sink) const {
    Rows rows(*this, sink);
    const std::size_t count = std::size_t(width) * std::size_t(numFileSamples);
    std::vector<unsigned char> packed(rows.packedLength(count)), samples(rows.fileRowLength);
    for (int row = 0; row < height; ++row, offset += packed.size()) {
        const ssize_t got = ::pread(TIFFFileno(tiff), packed.data(), packed.size(), static_cast<off_t>(offset));
        if (got != static_cast<ssize_t>(packed.size()))
            fail("row", row);
        const int bits = page.values.bits;
        const auto length = static_cast<tmsize_t>(count);
        if (TIFFIsByteSwapped(tiff) && bits == 16)
            TIFFSwabArrayOfShort(reinterpret_cast<std::uint16_t*>(packed.data()), length);
        else if (TIFFIsByteSwapped(tiff) && bits == 24)
            TIFFSwabArrayOfTriples(packed.data(), length);
        else if (TIFFIsByteSwapped(tiff) && bits == 32)
            TIFFSwabArrayOfLong(reinterpret_cast<std::uint32_t*>(packed.data()), length);
        else if (TIFFIsByteSwapped(tiff) && bits == 64)
            TIFFSwabArrayOfLong8(reinterpret_cast<std::uint64_t*>(packed.data()), length);
        unpackSamples(packed.data(), count, rows.type, samples.data(), 1);
        if (!rows.put(row, samples.data()))
            return;
    }
}

} // namespace vorlen
