#include "images/rasters/imageprocessing.h"

namespace vorlen {

ImageProcessing::~ImageProcessing() = default;

} // namespace vorlen
