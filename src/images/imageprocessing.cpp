#include "images/imageprocessing.h"

ImageProcessing::~ImageProcessing() = default;
