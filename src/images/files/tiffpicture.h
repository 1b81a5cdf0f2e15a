#pragma once

#include <cstdint>
#include <string>

#include "images/files/imagepage.h"
#include "images/files/picturelevel.h"

typedef struct tiff TIFF;

namespace vorlen {

class SampleSink;

/// One directory of a TIFF file: what its tags say of the picture, and the decoding of the samples.
///
/// libtiff is set to the directory as long as this lives. The tags are read in tiffpicture.cpp, whole pictures in
/// tiffpixels.cpp, parts of them in tiffparts.cpp.
struct TiffPicture {
    /// How the samples of the file become those of the page.
    enum Conversion {
        None,
        Invert,    ///< grey values of which the least stand for white
        Inks,      ///< cyan, magenta, yellow, black
        Lab,       ///< CIE L*a*b*
        IccLab,    ///< the same with other numbers for 0
        ByLibtiff, ///< YCbCr that no codec converts: libtiff makes red, green, blue
    };

    /// Reads the tags, and sets the codec to give colours rather than its own samples. Throws FileFormatError for what
    /// cannot be read, with the reason, and FileReadError for a picture that the file is too short for.
    explicit TiffPicture(TIFF* tiff);

    /// Throws FileReadError for damaged pixels. Who keeps all of them asks requireWhole() before.
    void read(SampleSink& sink) const;

    /// The blocks in which parts are read; of width 0 where the picture is to be read as a whole: it is turned, or its
    /// strips or tiles have more bytes than a part may cost.
    PictureLevel blocks() const;

    /// The same of a rectangle, whose rows count from its top. The picture must have blocks.
    void readPart(const PixelWindow& part, SampleSink& sink) const;

    /// Throws FileReadError where the file has too few bytes for all the pixels of a picture that may be read in parts.
    void requireWhole() const;

    /// Reads rows without compression that begin at this place of the file: those of a further plane behind the first.
    void readContiguous(std::uint64_t offset, SampleSink& sink) const;

    TIFF* tiff;
    ImagePage page;         // as it is to be seen
    int width, height;      // of the rows as they stand in the file
    int orientation = 1;    // as the tag has it
    int numFileSamples = 1; // for each pixel
    bool separate = false;  // samples in planes of their own
    int compression = 1;
    Conversion conversion = None;
    bool hasDifferences = false; // JPEG 2000 of brightness and differences, which become red, green, blue
    bool isBorneOut = true;      // the file has bytes enough for all pixels

private:
    struct Rows;
    struct Block;

    /// Bytes of a tile or strip that may be decoded for a part of it.
    static constexpr std::uint64_t greatestBlock = std::uint64_t(64) << 20;

    PictureLevel allBlocks() const;
    bool canBeStreamed() const;
    void readColours();
    void readPixelSize();
    void requireBelievable();
    bool haveTilesTheirBytes(std::uint64_t ratio) const;
    void readStrips(Rows& rows) const;
    bool readPlainStrips(Rows& rows) const;
    void readWholeStrips(Rows& rows) const;
    void readSeparateStrips(Rows& rows) const;
    void readTiles(Rows& rows) const;
    void readColourStrips(Rows& rows) const;
    void readColourTiles(Rows& rows) const;
    [[noreturn]] void fail(const std::string& what, int row) const;
};

} // namespace vorlen
