#pragma once

#include <cstddef>
#include <vector>

namespace vorlen {

class SampleSink;

/// Hands the rows of a picture to a sink as the picture is to be seen, whatever corner they begin in.
///
/// Orientations are those of TIFF and Exif: 1 begins at the top left with rows from left to right, 2 at the top right,
/// 3 at the bottom right, 4 at the bottom left; 5 to 8 are these with columns for rows (5 top left, 6 top right, 7
/// bottom right, 8 bottom left). Rows of these four are kept until the last one has come.
class OrientedRows {
public:
    /// Size of the rows as they come, bytes of a pixel.
    OrientedRows(SampleSink& sink, int orientation, int width, int height, std::size_t pixelLength);

    /// Memory for the row just as it comes; null where it must be turned.
    unsigned char* target(int row);
    /// False when the sink wants no more.
    bool put(int row, const unsigned char* samples);

private:
    bool putTurned();

    SampleSink& __sink;
    int __orientation, __width, __height;
    std::size_t __pixelLength;
    std::vector<unsigned char> __kept;
    int __numKept = 0;
};

} // namespace vorlen
