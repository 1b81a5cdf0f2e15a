#pragma once

#include "images/rasters/imagechannel.h"
#include "images/rasters/imageheader.h"
#include "values/imagecolorcontent.h"

#include <cstddef>
#include <memory>
#include <string>

namespace vorlen {

template <class T>
class BoundingBox;
template <class T>
class PixelMatrix;

/// Raster as it comes from and goes to files and the screen: a block of bytes with a header.
///
/// Pixels lie row by row from the top row, without padding. Depth 8: one gray level or index; 16: one unsigned gray
/// level in the machine's byte order; 24: red, green, blue; 32: red, green, blue and a fourth byte, or, in a real
/// image, one grey value of type float, whatever its range. An image is indexed when its depth is 8 and its header
/// holds a colormap, else plain. An index beyond the end of a short colormap counts as black.
///
/// Copies are deep; format and pixel calibration do not travel with a copy, and the colormap does.
class Image {
public:
    Image() = default;
    Image(int width, int height, int depth);
    /// As readFile.
    Image(const std::string& name, const std::string& directory);
    Image(const Image& image);
    virtual ~Image() = default;
    Image& operator=(const Image& image);

    /// Gives the image this size and depth; contents are undefined afterwards, but stay when nothing changes.
    /// Throws DepthError for a depth other than 8, 16, 24 and 32, and SizeError for a negative size or a row of more
    /// than 2^31-1 bytes; either way the image is left empty.
    void init(int width, int height, int depth);
    /// The same for a real image, of depth 32.
    void initReal(int width, int height);
    bool isReal() const { return __header.isReal(); }
    /// Row i of a real image.
    float* realRow(int i) { return reinterpret_cast<float*>(__pixels[i]); }
    const float* realRow(int i) const { return reinterpret_cast<const float*>(__pixels[i]); }
    /// Allocates dataLength() bytes and the row pointers, as the header tells.
    void allocatePixels();
    /// Frees the pixels and clears the header.
    void destroy();
    /// As destroy(): the pixels are owned, so that to forget them is to free them.
    void reset();
    /// Sets all data bytes to zero.
    void clear();
    void swap(Image& image);

    /// Assigns the header if it differs. Pixels of another size or depth than the new header's are freed, so that
    /// rows and header never disagree; allocatePixels() then makes new ones.
    void setHeader(const ImageHeader& header);
    const ImageHeader& getHeader() const { return __header; }
    /// In the header.
    void setPixelCalibration(const PixelCalibration& calibration) { __header.setPixelCalibration(calibration); }
    int getWidth() const { return __header.getWidth(); }
    int getHeight() const { return __header.getHeight(); }
    int getDepth() const { return __header.getDepth(); }
    /// Height, then width.
    Vector<int> getSize() const;
    /// Box from (0, 0) to (width-1, height-1).
    BoundingBox<int> boundingBox() const;

    /// Raw bytes, null until allocated, and the row pointers into them.
    unsigned char* getData() { return __data.get(); }
    const unsigned char* getData() const { return __data.get(); }
    unsigned char** getPixels() { return __pixels.get(); }
    const unsigned char* const* getPixels() const { return __pixels.get(); }
    /// 1, 2, 3 or 4; 0 for any depth that is none of the four.
    int bytesPerPixel() const;
    int bytesPerLine() const;
    std::size_t dataLength() const;

    bool isIndexed() const;
    void setColormap(const Colormap& colormap);
    const Colormap* getColormap() const;

    /// Writes a TIFF file, by ImageWriter; the path is name, or directory, "/" and name.
    void writeFile(const std::string& name, const std::string& directory = "", bool overwrite = false) const;
    /// Reads an image file, by ImageReader; the path is prefix followed by name, with no separator added.
    void readFile(const std::string& name, const std::string& prefix = "");
    /// Writes the header, and the pixels unless hideData, to standard output.
    void print(const std::string& title = "", bool hideData = false) const;

    /// Copies source with its top-left corner at column x, row y.
    /// Throws DepthError, ColormapError or SizeError when depth, colormap or place do not fit.
    void paste(const Image& source, int x, int y);

    /// Class of one colour: 0 if the three are equal, 1, 2, 3 if only red, green, blue is not zero, else 4.
    ImageColorContent colorContent(unsigned char red, unsigned char green, unsigned char blue) const;
    /// Class that all pixels share, else mixed; an indexed image is judged by its colormap. Black counts as grey here.
    /// Undefined (5) for an image without pixels.
    ImageColorContent colorContent() const;
    bool isGrayscale() const;
    /// Black pixels pass the three tests below.
    bool isRedOnly() const;
    bool isGreenOnly() const;
    bool isBlueOnly() const;

    /// At depth 8 only: installs a gray ramp of n entries as colormap, or removes the colormap when n is below 1.
    void setGrayscale(int n);
    /// Indexed: turns the colormap gray. 16 bits: scales the greatest value to 255 if it is above 255, else copies.
    /// Real: brings least and greatest value to 0 and 255, but copies, rounded, where all lie there and one above 1.
    /// This is for looking at one image: values of several are compared by PixelMatrix::convertGreyFromImage().
    /// Colour: the mean of the three bytes, truncated.
    void make8bitsGrayscale();
    /// Throws DepthError at depths 16 and 32, and for a real image.
    void make24bits();
    /// From depth 24 only: adds a fourth byte 0 to each pixel.
    void make32bits();

    /// The channel as a plain 8-bit image. The alpha channel of an image without one is zero everywhere. Values of 16
    /// bits give their high byte, real ones the nearest byte.
    Image channel(ImageChannel channel) const;
    /// Writes the matrix into this channel of all pixels; at depths 8 and 16, and for the alpha channel at depth 24,
    /// which has no such byte, into the first byte of each pixel; in a real image they become its values. Throws
    /// SizeError when the sizes differ.
    void setChannel(ImageChannel channel, const PixelMatrix<unsigned char>& matrix);

private:
    bool onlyChannel(int offset) const;

    ImageHeader __header;
    std::unique_ptr<unsigned char[]> __data;
    std::unique_ptr<unsigned char*[]> __pixels;
};

} // namespace vorlen
