#include "images/rasters/imageprocessing.h"

ImageProcessing::~ImageProcessing() = default;
