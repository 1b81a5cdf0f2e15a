#pragma once

#include "images/rasters/imagechannel.h"
#include "numerics/matrix.h"

namespace vorlen {

class Image;
class RandomGenerator;

/// Raster as the algorithms see it: a matrix whose element (i, j) is the pixel of image row i and image column j.
template <class T>
class PixelMatrix : public Matrix<T> {
public:
    PixelMatrix() = default;
    /// Contents undefined.
    PixelMatrix(int rows, int cols);
    PixelMatrix(const Matrix<T>& matrix);
    PixelMatrix(const Image& image);
    PixelMatrix(const PixelMatrix& matrix) = default;
    PixelMatrix(PixelMatrix&& matrix) noexcept = default;
    PixelMatrix& operator=(const PixelMatrix& matrix) = default;
    PixelMatrix& operator=(PixelMatrix&& matrix) = default;
    ~PixelMatrix() override = default;

    /// Takes size and values of an image of 8 or 16 bits or a real one; an indexed image gives its indexes. Real values
    /// that an integer T does not hold become its nearest, and those that are no number 0. At other depths only the
    /// size is taken and the elements stay unset.
    void convertFromImage(const Image& image);
    /// The values of one channel. Indexed: through the colormap, elements unset for alpha. Plain gray: as the form
    /// without channel. Colour: the channel's byte; elements unset for alpha at depth 24.
    void convertFromImage(const Image& image, ImageChannel channel);
    /// The grey values of any image, as algorithms compare them between images: those of a grey image, and of colours
    /// the mean of the three bytes, truncated, where an indexed image has the colours of its colormap.
    void convertGreyFromImage(const Image& image);

    /// A plain 8-bit image of the elements, truncated and not clamped: the low byte of the integer part, and 0 for
    /// values whose integer part no int holds.
    void convertToImage(Image& image) const;
    /// Stretches the matrix's own range, without NaN, to low..high; low for NaN. In integer instantiations the factor
    /// (high-low)/(max-min) is an integer quotient, or where that would be 0 the exact one, and the product is
    /// truncated. A constant matrix gives low everywhere.
    void convertToImage(Image& image, unsigned char low, unsigned char high) const;
    /// Window: low at and below first, high at and above last, linear and truncated in between; low for NaN.
    void convertToImage(Image& image, T first, T last, unsigned char low, unsigned char high) const;

    bool contains(int row, int col) const;

    /// Independent uniform integers from low to high, both included.
    void randomise(int low, int high, RandomGenerator& generator);
    void randomise(int low, int high);
    void randomise(int high);
    void randomise();

    void fillBorder(T value);
    /// Sets a frame of this many rows and columns; the whole matrix if the frame is wider than its half.
    void fillBorder(int width, T value);

    /// Counts of the elements in bins, see Vector<T>::histogram(), but without the NaNs.
    Vector<unsigned int> histogram(T first, T width, unsigned int bins) const;
    /// Counts only the elements where the mask is not zero. Throws SizeError if the mask has another size.
    Vector<unsigned int> histogram(T first, T width, unsigned int bins, const PixelMatrix& mask) const;

    /// How many elements are NaN, which histogram() and range() leave out; with a mask, of those where it is not zero.
    long long countNaN() const;
    long long countNaN(const PixelMatrix& mask) const;
};

} // namespace vorlen
