#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "images/files/imagefile.h"

typedef struct tiff TIFF;

namespace vorlen {

class TiffFile;
struct TiffPicture;

/// TIFF and BigTIFF files by libtiff, with every compression that it decodes.
///
/// Samples of 1 to 64 bits, unsigned, signed or real (16, 24, 32, 64 bits), interleaved or in planes of their own, in
/// strips or tiles; grey, with white or black for the least value, palette, red-green-blue, CMYK, YCbCr, CIE L*a*b* and
/// LogLuv, and channels that have no colour. All orientations. Tiles that a file with compression leaves out are 0.
///
/// Decisions: a grey picture with more samples has channels of its own, unless the second is declared as opacity. CMYK
/// is converted without its profile. Pages that are declared as a smaller copy or as a mask of another one don't count.
/// Of a picture in the contiguous form of ImageJ, where one directory stands for many planes, each plane is a page.
///
/// A picture of up to 128 MiB is believed; a larger one must be able to come out of a file of this length at the
/// greatest ratio of its compression.
class TiffImageFile : public ImageFile {
public:
    /// Throws as ImageFile::open().
    explicit TiffImageFile(const std::string& filename);
    ~TiffImageFile() override;

    ImageFormat getFormat() const override { return TiffImageFormat; }
    int getNumPages() override;
    ImagePage getPage(int i) override;
    void read(int i, SampleSink& sink) override;
    /// The page itself, and its smaller copies: in directories of its own, or in those that follow the page.
    std::vector<PictureLevel> getLevels(int i) override;
    void readPart(int i, int level, const PixelWindow& part, SampleSink& sink) override;
    void requireWhole(int i) override;
    StackLayout getLayout() override;

    /// The text of the first page's tag ImageDescription.
    std::string getDescription();

private:
    /// One size of a page, through a file of its own, so that no directory is read again with each part.
    struct Level {
        std::unique_ptr<TiffFile> tiff;
        std::unique_ptr<TiffPicture> picture;
        PictureLevel blocks;
    };

    void select(int i);
    void findLevels(int i);
    void addLevel(std::uint64_t directory);
    void findPages();
    int numContiguousPlanes();

    std::unique_ptr<TiffFile> __tiff;
    std::vector<std::uint64_t> __directories; // where the pages' directories are
    int __numContiguous = 1;                  // planes that the first directory stands for
    bool __isBroken = false;                  // the chain of directories ends where it should go on
    int __selected = -1;
    std::unique_ptr<TiffPicture> __picture; // of the selected page
    int __levelsPage = -1;
    std::vector<Level> __levels; // of that page
};

} // namespace vorlen
