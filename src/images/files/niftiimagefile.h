#pragma once

#include "images/files/rawvolume.h"

namespace vorlen {

/// NIfTI files of both versions: .nii, .nii.gz, and a pair of .hdr and .img of which the header is named. Values are
/// scaled as the header tells; lengths without a unit are millimeters. The orientation of the space is left out: rows
/// and planes come in the order of the file.
class NiftiImageFile : public RawVolume {
public:
    explicit NiftiImageFile(const std::string& filename);
    ImageFormat getFormat() const override { return NiftiImageFormat; }

    /// Whether a file, or a stream of gzip, begins as one.
    static bool isNifti(const std::string& filename);
};

} // namespace vorlen
