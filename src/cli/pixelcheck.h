#pragma once

#include <optional>
#include <string>
#include <vector>

#include "images/files/pixelstatistics.h"

namespace vorlen {

class StackSlice;

/// Statistics of the slice's pixels, or why they can't be read, in a sentence that begins with the file's name.
struct SlicePixels {
    std::optional<PixelStatistics> statistics;
    std::string problem;
};

/// Reads every pixel of the slice's image. Nothing of either for a slice without an image.
SlicePixels readPixels(const StackSlice& slice);

/// A sentence on a slice that shows the first of several pages of its file; empty for others.
std::string furtherPages(const StackSlice& slice);

} // namespace vorlen
