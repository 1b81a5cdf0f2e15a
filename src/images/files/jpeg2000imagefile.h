#pragma once

#include <string>

#include "images/files/imagefile.h"

namespace vorlen {

/// JPEG 2000 files by OpenJPEG: JP2 with its boxes, and bare codestreams; grey, colours, luminance with chrominance
/// (also where that has fewer samples), palettes, channels of their own, of 1 to 31 bits, unsigned and signed.
///
/// The size of a pixel is that of the capture, where the file tells it. Opacity is known by the box of channels.
/// Colours are taken as sRGB, whatever a profile says; inks and L*a*b* are refused. All samples of a component need one
/// depth.
///
/// A picture is decoded as a whole, with 4 bytes for each of its samples at a time, by as many as 4 threads.
class Jpeg2000ImageFile : public ImageFile {
public:
    explicit Jpeg2000ImageFile(const std::string& filename) : ImageFile(filename) {}

    ImageFormat getFormat() const override { return Jpeg2000ImageFormat; }
    int getNumPages() override { return 1; }
    ImagePage getPage(int i) override;
    void read(int i, SampleSink& sink) override;
};

} // namespace vorlen
