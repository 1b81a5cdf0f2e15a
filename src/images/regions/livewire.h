#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "images/rasters/pixelmatrix.h"

namespace vorlen {

/// Paths along the edges of an image from a seed to any pixel: the cheapest ones over neighbours (eight of each pixel),
/// where a step costs the less the stronger the edge is under it (E. N. Mortensen and W. A. Barrett, Intelligent
/// scissors for image composition, SIGGRAPH 1995; E. W. Dijkstra, Numerische Mathematik 1, 1959).
///
/// The strength of an edge is the norm of the gradient by Sobel's kernels, as a share of one that only two hundredths
/// of the pixels exceed. A search goes on from where the last one has stopped, and only as far as the asked pixel is
/// dear; costs are whole numbers in a ring of buckets, so that each pixel takes constant time.
class LiveWire {
public:
    /// The image's grey values by row and column; values that are no number count as 0.
    explicit LiveWire(const PixelMatrix<float>& image);

    int getNumRows() const { return __rows; }
    int getNumColumns() const { return __columns; }

    /// Throws RangeError for a pixel outside of the image.
    void setSeed(int row, int column);

    /// The pixels (row, column) from the seed to this one, both included. Throws RangeError for a pixel outside of the
    /// image, and UsageError without a seed.
    std::vector<std::pair<int, int>> path(int row, int column);

    /// The same way between the pixels, (row, column): each place but the ends lies where the edge is strongest across
    /// the way, by a parabola through three places one pixel apart, up to a pixel aside. Where there is no edge to
    /// speak of (less than a tenth of a strong one) it is the pixel's centre.
    std::vector<std::pair<double, double>> edge(int row, int column);

private:
    int indexOf(int row, int column, const char* caller) const;
    void makeCosts(const PixelMatrix<float>& image);
    void searchUntil(int goal);
    double normAt(double row, double column) const;

    int __rows, __columns;
    std::vector<std::uint8_t> __costs; // of a straight step onto the pixel, in fifths
    std::vector<float> __norms;        // of the gradient
    float __strong = 0;                // the norm of a strong edge; 0 where there is none
    int __seed = -1;
    std::vector<int> __totals;
    std::vector<std::int8_t> __from; // the neighbour that a pixel is reached from
    std::vector<bool> __settled;
    std::vector<std::vector<int>> __buckets; // pixels by their totals, modulo the number of buckets
    int __reached = 0;                       // the total that the search has come to
    std::size_t __numWaiting = 0;
};

} // namespace vorlen
