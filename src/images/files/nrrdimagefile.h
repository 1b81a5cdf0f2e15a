#pragma once

#include "images/files/rawvolume.h"

namespace vorlen {

/// NRRD files, attached (.nrrd) or with the samples in one other file (.nhdr), raw or by gzip; of 2 to 4 axes, of which
/// the first may be that of colours or channels and the last that of time. Spacings have the unit that the file gives,
/// or millimeters in an anatomic space.
class NrrdImageFile : public RawVolume {
public:
    explicit NrrdImageFile(const std::string& filename);
    ImageFormat getFormat() const override { return NrrdImageFormat; }
};

} // namespace vorlen
