#pragma once

namespace vorlen {

/// A rectangle of pixels: its first column and row, width and height.
struct PixelWindow {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const PixelWindow&) const = default;
};

/// One of the sizes in which a picture stands in a file, and the blocks that its pixels can be read in.
struct PictureLevel {
    int width = 0;
    int height = 0;
    int blockWidth = 0; ///< the whole width where the blocks are strips
    int blockHeight = 0;
};

} // namespace vorlen
