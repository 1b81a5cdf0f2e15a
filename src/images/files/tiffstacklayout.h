#pragma once

#include <string>

#include "images/files/imagepage.h"
#include "images/files/stacklayout.h"

namespace vorlen {

/// What the description of a TIFF file's first page says of the pages, in the two forms that microscopes write. Each
/// takes the plain layout of the file, one plane for each page, and gives it back where the description can't be true,
/// with a warning.

/// Lines of "key=value" that begin with "ImageJ=".
bool isImagejDescription(const std::string& description);
/// The number of planes; 0 for another description.
int imagejNumImages(const std::string& description);
/// Channels run fastest, then planes, then points in time. The resolutions of the tags are pixels for each "unit".
StackLayout imagejLayout(const std::string& description, float xResolution, float yResolution, int numPages,
                         const StackLayout& plain);

/// The XML of OME-TIFF. Planes may be in other files of the same folder.
bool isOmeDescription(const std::string& description);
StackLayout omeLayout(const std::string& description, const std::string& filename, const ImagePage& first, int numPages,
                      const StackLayout& plain);

} // namespace vorlen
