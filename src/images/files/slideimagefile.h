#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "images/files/imagefile.h"

typedef struct _openslide openslide_t; // NOLINT(bugprone-reserved-identifier): the library's own name

namespace vorlen {

/// Whole-slide files by OpenSlide: Aperio, Hamamatsu, Leica, MIRAX, Philips, Sakura, Trestle, Ventana, and plain tiled
/// TIFF that is too large to be held in memory.
///
/// A page is a level of the slide, the first the full resolution, so that an image source names file and level. The
/// layout has one plane: the largest level of at most pixelLimit pixels. A larger one may be named by its page as long
/// as an image can have its size. Pixels are red, green and blue over the background that the file gives, white by
/// default; the size of a pixel is that of the slide times the level's reduction.
class SlideImageFile : public ImageFile {
public:
    /// Pixels of the largest level that is taken by itself: 8192 x 8192.
    static constexpr std::int64_t pixelLimit = std::int64_t(1) << 26;

    /// Throws FileReadError for a damaged file, FileFormatError for one that is no slide.
    explicit SlideImageFile(const std::string& filename);
    ~SlideImageFile() override;

    ImageFormat getFormat() const override { return SlideImageFormat; }
    int getNumPages() override;
    ImagePage getPage(int i) override;
    void read(int i, SampleSink& sink) override;
    /// The level of the page and those below.
    std::vector<PictureLevel> getLevels(int i) override;
    void readPart(int i, int level, const PixelWindow& part, SampleSink& sink) override;
    void requireWhole(int i) override;
    /// Throws FileFormatError where even the smallest level is above the limit.
    StackLayout getLayout() override;

    /// Whether this file is to be read as a slide: by its maker's form, or because it is a tiled TIFF above the limit,
    /// of colours of 8 bits. The names of the formats are believed, and that a TIFF has tiles is looked at first, so
    /// that other files cost next to nothing. No TIFF whose entries can't be believed: OpenSlide takes the memory that
    /// they ask for.
    static bool isSlide(const std::string& filename, bool isTiff);

private:
    struct Closer {
        void operator()(openslide_t* slide) const;
    };

    void readRegion(int level, const PixelWindow& part, SampleSink& sink) const;
    double pixelSize(bool isWidth) const;
    [[noreturn]] void fail(const char* what) const;

    std::unique_ptr<openslide_t, Closer> __slide;
};

} // namespace vorlen
