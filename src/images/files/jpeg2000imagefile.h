#pragma once

#include <string>

#include "images/files/imagefile.h"

namespace vorlen {

/// JPEG 2000 by OpenJPEG: JP2 files and bare codestreams, of 1 to 31 bits, signed or not, grey or in colour.
///
/// Brightness and colour differences become red, green, blue, inks too; palettes, which no microscope writes, are
/// refused. Components at a lower resolution are repeated. The size of a pixel comes from the box of the resolution at
/// which the picture was taken, else from that at which it is to be shown. Profiles are left out. A picture is decoded
/// as a whole, which takes four bytes for each sample; one that ends early is refused, not filled up.
class Jpeg2000ImageFile : public ImageFile {
public:
    explicit Jpeg2000ImageFile(const std::string& filename) : ImageFile(filename) {}

    ImageFormat getFormat() const override { return Jpeg2000ImageFormat; }
    int getNumPages() override { return 1; }
    ImagePage getPage(int i) override;
    void read(int i, SampleSink& sink) override;
};

} // namespace vorlen
