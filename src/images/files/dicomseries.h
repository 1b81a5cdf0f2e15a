#pragma once

#include <optional>
#include <string>
#include <vector>

#include "images/files/dicomimagefile.h"

namespace vorlen {

/// The DICOM files of one series.
struct DicomSeries {
    std::string identifier;
    std::vector<std::string> files; ///< in the order in which they were given
    StackLayout layout;             ///< of all of them; every plane names its file
    ImagePage first;                ///< the picture of the first plane
};

/// A file that is no readable picture, and why.
struct UnreadableDicomFile {
    std::string filename, reason;
};

/// Sorts DICOM files into series, in the order in which their first files are given.
///
/// The planes of a series are in the order of falling position along their normal, the product of the directions of
/// rows and columns: since Y goes up the image in a stack, that is the body and not its mirror image. Where several lie
/// at each place, these are points in time, in the order of their numbers. Planes that are not parallel, or without a
/// position, come in the order of the numbers of their files. The distance of the planes is the median of those of
/// neighbours, and a warning tells of uneven ones; without positions it is what the files say.
std::vector<DicomSeries> dicomSeries(const std::vector<std::string>& files,
                                     std::vector<UnreadableDicomFile>& unreadable);

/// The layout of these pictures, with pixels as those of the first; stated is the distance that the file gives.
StackLayout dicomLayout(std::vector<DicomFrame> frames, const ImagePage& first, std::optional<double> stated);

/// The files of a folder that are DICOM, sorted by name; those of folders in it are left alone.
std::vector<std::string> dicomFilesIn(const std::string& folder);

} // namespace vorlen
