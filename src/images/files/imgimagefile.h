#pragma once

#include <string>

#include "images/files/imagefile.h"

namespace vorlen {

/// IMG files: raw, 512 by 512 pixels of 8 bits behind 12 bytes that begin with "0000". What a short file lacks is 0.
class ImgImageFile : public ImageFile {
public:
    explicit ImgImageFile(const std::string& filename) : ImageFile(filename) {}

    ImageFormat getFormat() const override { return ImgImageFormat; }
    int getNumPages() override { return 1; }
    ImagePage getPage(int i) override;
    void read(int i, SampleSink& sink) override;
};

} // namespace vorlen
