#pragma once

#include <string>

#include "images/files/imagefile.h"

namespace vorlen {

/// BMP files of Windows, version 3 and later, without compression: palettes of 1, 4 and 8 bits, colours of 16, 24 and
/// 32 bits. A palette of greys in their order counts as grey. The fourth byte of 32 bits is left out.
class BmpImageFile : public ImageFile {
public:
    explicit BmpImageFile(const std::string& filename) : ImageFile(filename) {}

    ImageFormat getFormat() const override { return BmpImageFormat; }
    int getNumPages() override { return 1; }
    ImagePage getPage(int i) override;
    void read(int i, SampleSink& sink) override;
};

} // namespace vorlen
