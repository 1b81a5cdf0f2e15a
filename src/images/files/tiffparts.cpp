#include <algorithm>
#include <cstring>
#include <vector>

#include "images/files/jpeg2000decoder.h"
#include "images/files/samplecoding.h"
#include "images/files/samplesink.h"
#include "images/files/tiffrows.h"
#include "numerics/exception.h"

// The pixels of a rectangle, out of the tiles or strips that it touches.

namespace vorlen {

PictureLevel TiffPicture::blocks() const {
    const std::uint64_t length = TIFFIsTiled(tiff) != 0 ? TIFFTileSize64(tiff) : TIFFStripSize64(tiff);
    PictureLevel level = allBlocks();
    if (orientation != ORIENTATION_TOPLEFT || compression == COMPRESSION_JBIG || length == 0 ||
        length > greatestBlock ||
        std::uint64_t(level.blockWidth) * std::uint64_t(level.blockHeight) * 4 > greatestBlock)
        level.blockWidth = level.blockHeight = 0;
    return level;
}

/// Whatever they cost.
PictureLevel TiffPicture::allBlocks() const {
    const bool tiled = TIFFIsTiled(tiff) != 0;
    PictureLevel level{width, height, 0, 0};
    const std::uint32_t rows = std::max(tiffTag<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, 0), 1u);
    level.blockWidth = tiled ? static_cast<int>(tiffTag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH, 1)) : width;
    level.blockHeight = tiled ? static_cast<int>(tiffTag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH, 1))
                              : static_cast<int>(std::min<std::uint32_t>(rows, std::uint32_t(height)));
    return level;
}

/// One tile or strip, of one sample where they are in planes of their own, as it is decoded.
struct TiffPicture::Block {
    Block(const TiffPicture& picture_, const Rows& rows)
        : picture(picture_), tiled(TIFFIsTiled(picture.tiff) != 0), size(picture.allBlocks()),
          numInPixel(picture.separate ? 1 : picture.numFileSamples) {
        if (picture.conversion == ByLibtiff) {
            colours.resize(std::size_t(size.blockWidth) * std::size_t(size.blockHeight));
            return;
        }
        rowLength = static_cast<std::size_t>(tiled ? TIFFTileRowSize(picture.tiff) : TIFFScanlineSize(picture.tiff));
        const auto length = static_cast<std::size_t>(tiled ? TIFFTileSize(picture.tiff) : TIFFStripSize(picture.tiff));
        if (rowLength < rows.packedLength(std::size_t(size.blockWidth) * std::size_t(numInPixel)) ||
            length < rowLength * std::size_t(size.blockHeight))
            throw FileFormatError(tiffPixelPlace, "Cannot read TIFF with subsampled colours",
                                  TIFFFileName(picture.tiff));
        bytes.resize(length);
    }

    void decode(int left_, int top_, int sample) {
        left = left_;
        top = top_;
        TIFF* const file = picture.tiff;
        const auto x = std::uint32_t(left), y = std::uint32_t(top);
        const auto plane = static_cast<std::uint16_t>(sample);
        bool done = true;
        if (picture.conversion == ByLibtiff) {
            done = (tiled ? TIFFReadRGBATileExt(file, x, y, colours.data(), 1)
                          : TIFFReadRGBAStripExt(file, y, colours.data(), 1)) != 0;
        } else {
            const std::uint32_t index =
                tiled ? TIFFComputeTile(file, x, y, 0, plane) : TIFFComputeStrip(file, y, plane);
            const auto length = static_cast<tmsize_t>(bytes.size());
            if (TIFFGetStrileByteCount(file, index) == 0)
                std::fill(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
            else if (isJpeg2000(picture.compression))
                done = decodeJpeg2000(index);
            else
                done = (tiled ? TIFFReadEncodedTile(file, index, bytes.data(), length)
                              : TIFFReadEncodedStrip(file, index, bytes.data(), length)) >= 0;
        }
        if (!done)
            picture.fail(tiled ? "the tile at row" : "row", top);
    }

    /// libtiff hands out the bytes of the codestream, which has all of the block that lies in the picture.
    bool decodeJpeg2000(std::uint32_t index) {
        TIFF* const file = picture.tiff;
        coded.resize(std::size_t(TIFFGetStrileByteCount(file, index)));
        const auto length = static_cast<tmsize_t>(coded.size());
        if ((tiled ? TIFFReadRawTile(file, index, coded.data(), length)
                   : TIFFReadRawStrip(file, index, coded.data(), length)) != length)
            return false;
        Jpeg2000Decoder decoder(coded, TIFFFileName(file));
        const ImagePage form = decoder.page();
        const int numColumns = std::min(size.blockWidth, picture.width - left);
        const int numRows = std::min(size.blockHeight, picture.height - top);
        const ValueType& values = picture.page.values;
        if (form.width < numColumns || form.height < numRows || form.width > size.blockWidth ||
            form.height > size.blockHeight || decoder.numComponents() != numInPixel || form.values.bits > values.bits)
            throw FileReadError(tiffPixelPlace, "A part in JPEG 2000 has another form than the header of TIFF tells",
                                TIFFFileName(file));
        decoder.decode();
        const std::size_t sampleLength = std::size_t(values.bits) / 8;
        std::vector<std::int32_t> row(std::size_t(form.width) * std::size_t(numInPixel));
        for (int i = 0; i < numRows; ++i) {
            decoder.row(i, row.data());
            if (picture.hasDifferences || decoder.isDifference())
                Jpeg2000Decoder::differencesToRgb(row.data(), std::size_t(form.width), std::size_t(numInPixel), values);
            withSampleType(picture.page.storage, [&](auto typed) {
                using Sample = decltype(typed);
                unsigned char* to = &bytes[std::size_t(i) * rowLength];
                for (std::size_t k = 0; k < row.size(); ++k, to += sampleLength) {
                    const auto sample = static_cast<Sample>(row[k]);
                    std::memcpy(to, &sample, std::min(sampleLength, sizeof sample));
                }
            });
        }
        return true;
    }

    /// The pixels of a row from a column on, both of the picture, unpacked to where each sample is step elements
    /// from the last.
    void unpack(int row, int column, int count, const Rows& rows, unsigned char* target, std::size_t step) {
        if (picture.conversion == ByLibtiff) {
            // libtiff hands out a block from its last row to its first.
            const int numRows = tiled ? size.blockHeight : std::min(size.blockHeight, picture.height - top);
            const std::uint32_t* from = &colours[std::size_t(numRows - 1 - (row - top)) * std::size_t(size.blockWidth)];
            takeColours(from + (column - left), count, target);
            return;
        }
        const std::size_t skipped = std::size_t(column - left) * std::size_t(numInPixel);
        const std::size_t number = std::size_t(count) * std::size_t(numInPixel);
        const std::size_t skippedBits = skipped * std::size_t(rows.type.bits);
        const unsigned char* const from = &bytes[std::size_t(row - top) * rowLength];
        if (skippedBits % 8 == 0) {
            unpackSamples(from + skippedBits / 8, number, rows.type, target, step);
            return;
        }
        unpacked.resize((skipped + number) * rows.sampleLength);
        unpackSamples(from, skipped + number, rows.type, unpacked.data(), 1);
        for (std::size_t k = 0; k < number; ++k)
            std::memcpy(target + k * step * rows.sampleLength, &unpacked[(skipped + k) * rows.sampleLength],
                        rows.sampleLength);
    }

    const TiffPicture& picture;
    const bool tiled;
    const PictureLevel size;
    const int numInPixel;
    std::size_t rowLength = 0;
    int left = 0, top = 0;
    std::vector<unsigned char> bytes, unpacked, coded;
    std::vector<std::uint32_t> colours;
};

void TiffPicture::readPart(const PixelWindow& part, SampleSink& sink) const {
    TiffPicture narrow(*this); // what the rows of the part are like
    narrow.width = narrow.page.width = part.width;
    narrow.height = narrow.page.height = part.height;
    Rows rows(narrow, sink);
    Block block(*this, rows);
    const int blockWidth = block.size.blockWidth, blockHeight = block.size.blockHeight;
    const bool planes = separate && conversion != ByLibtiff;
    const std::size_t pixelLength = conversion == ByLibtiff ? 3 : std::size_t(numFileSamples) * rows.sampleLength;
    const std::size_t length = pixelLength * std::size_t(part.width);
    const int right = part.x + part.width, bottom = part.y + part.height;
    std::vector<unsigned char> band(length * std::size_t(std::min(blockHeight, part.height)));
    for (int first = part.y, last = 0; first < bottom; first = last) {
        const int top = first / blockHeight * blockHeight;
        last = std::min(bottom - top, blockHeight) + top;
        for (int sample = 0; sample < (planes ? numFileSamples : 1); ++sample)
            for (int from = part.x, to = 0; from < right; from = to) {
                const int left = from / blockWidth * blockWidth;
                to = std::min(right - left, blockWidth) + left;
                block.decode(left, top, sample);
                for (int row = first; row < last; ++row)
                    block.unpack(row, from, to - from, rows,
                                 &band[std::size_t(row - first) * length + std::size_t(from - part.x) * pixelLength +
                                       std::size_t(sample) * rows.sampleLength],
                                 planes ? std::size_t(numFileSamples) : 1);
            }
        for (int row = first; row < last; ++row)
            if (!rows.put(row - part.y, &band[std::size_t(row - first) * length]))
                return;
    }
}

} // namespace vorlen
