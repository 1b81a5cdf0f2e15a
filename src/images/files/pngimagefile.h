#pragma once

#include <string>

#include "images/files/imagefile.h"

namespace vorlen {

/// PNG files by libpng, of every depth and colour, interlaced or not. The size of a pixel comes from the chunk pHYs;
/// gamma, profiles and a colour that stands for no paint are left out.
class PngImageFile : public ImageFile {
public:
    explicit PngImageFile(const std::string& filename) : ImageFile(filename) {}

    ImageFormat getFormat() const override { return PngImageFormat; }
    int getNumPages() override { return 1; }
    ImagePage getPage(int i) override;
    void read(int i, SampleSink& sink) override;
};

} // namespace vorlen
