#pragma once

#include "images/files/rawvolume.h"

namespace vorlen {

/// MRC and CCP4 files (MRC2014): bytes, words, half and single floats, and bytes of red, green and blue. The length of
/// a voxel is that of the cell, in angstroms, by its number of samples. The rows stand in the file from below to above
/// and come in the order of the file, as in the programs that write them.
class MrcImageFile : public RawVolume {
public:
    explicit MrcImageFile(const std::string& filename);
    ImageFormat getFormat() const override { return MrcImageFormat; }
};

} // namespace vorlen
