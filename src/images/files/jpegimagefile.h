#pragma once

#include <string>

#include "images/files/imagefile.h"

namespace vorlen {

/// JPEG files by libjpeg-turbo: grey, colour and CMYK (which Adobe's writers turn around). The orientation of Exif is
/// applied. The size of a pixel comes from the density in the file's head.
class JpegImageFile : public ImageFile {
public:
    explicit JpegImageFile(const std::string& filename) : ImageFile(filename) {}

    ImageFormat getFormat() const override { return JpegImageFormat; }
    int getNumPages() override { return 1; }
    ImagePage getPage(int i) override;
    void read(int i, SampleSink& sink) override;
};

} // namespace vorlen
