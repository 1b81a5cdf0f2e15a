#pragma once

#include <cstddef>

namespace vorlen {

class Image;

/// The grey value of pixel i, counted row by row, of an image of words or of real numbers.
float wideValue(const Image& image, std::size_t i);

/// The step by which no more than about so many pixels are looked at. It has no factor in common with the width, so
/// that all columns are met.
std::size_t samplingStep(const Image& image, std::size_t most);

} // namespace vorlen
