#include "images/rasters/image.h"

#include "images/files/imagereader.h"
#include "images/files/imagewriter.h"
#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <limits>
#include <utility>

namespace vorlen {

namespace {

using Table = std::array<unsigned char, 256>;

/// A component of a colormap as a table for every possible byte, so that no index reads behind a short colormap.
Table lookupTable(const unsigned char* component, int size) {
    Table table{};
    std::copy_n(component, std::min(size, 256), table.begin());
    return table;
}

int bytesOfDepth(int depth) {
    return depth == 8 || depth == 16 || depth == 24 || depth == 32 ? depth / 8 : 0;
}

std::uint16_t wordAt(const unsigned char* data, std::size_t i) {
    std::uint16_t word;
    std::memcpy(&word, data + 2 * i, 2);
    return word;
}

/// The byte next to the value; 0 for what is no number.
unsigned char nearestByte(float value) {
    return value > 0 ? static_cast<unsigned char>(std::min(value, 255.0f) + 0.5f) : static_cast<unsigned char>(0);
}

void realToBytes(const float* values, unsigned char* bytes, std::size_t count) {
    float least = std::numeric_limits<float>::infinity(), greatest = -least;
    for (std::size_t i = 0; i < count; ++i)
        if (std::isfinite(values[i])) {
            least = std::min(least, values[i]);
            greatest = std::max(greatest, values[i]);
        }
    const bool fits = least >= 0 && greatest <= 255 && greatest > 1;
    const float start = fits ? 0 : least;
    const float factor = fits ? 1 : greatest > least ? 255 / (greatest - least) : 0;
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = nearestByte((values[i] - start) * factor);
}

std::size_t numPixels(const Image& image) {
    return static_cast<std::size_t>(image.getWidth()) * static_cast<std::size_t>(image.getHeight());
}

} // namespace

Image::Image(int width, int height, int depth) {
    init(width, height, depth);
}

Image::Image(const std::string& name, const std::string& directory) {
    readFile(name, directory);
}

Image::Image(const Image& image) {
    *this = image;
}

Image& Image::operator=(const Image& image) {
    if (this == &image)
        return *this;
    if (!image.__data) {
        destroy();
        return *this;
    }
    if (image.isReal())
        initReal(image.getWidth(), image.getHeight());
    else
        init(image.getWidth(), image.getHeight(), image.getDepth());
    __header.setValueType(image.__header.getValueType());
    std::memcpy(__data.get(), image.__data.get(), dataLength());
    if (image.isIndexed())
        __header.setColormap(*image.getColormap());
    else
        __header.deleteColormap();
    return *this;
}

void Image::init(int width, int height, int depth) {
    if (__data && width == getWidth() && height == getHeight() && depth == getDepth() && !isReal())
        return;
    destroy();
    if (bytesOfDepth(depth) == 0)
        throw DepthError("void Image::init(...)", "Invalid depth value");
    if (width < 0 || height < 0 || width > std::numeric_limits<int>::max() / bytesOfDepth(depth))
        throw SizeError("void Image::init(...)", "Invalid image size");
    __header.setWidth(width);
    __header.setHeight(height);
    __header.setDepth(depth);
    try {
        allocatePixels();
    } catch (...) {
        destroy();
        throw;
    }
}

void Image::initReal(int width, int height) {
    if (__data && width == getWidth() && height == getHeight() && isReal())
        return;
    init(width, height, 32);
    __header.setReal(true);
    __header.setValueType({ValueType::Real, 32});
}

void Image::allocatePixels() {
    const std::size_t lineLength = static_cast<std::size_t>(bytesPerLine());
    const std::size_t height = static_cast<std::size_t>(std::max(getHeight(), 0));
    std::unique_ptr<unsigned char[]> data(new unsigned char[lineLength * height]);
    std::unique_ptr<unsigned char*[]> pixels(new unsigned char*[height]);
    for (std::size_t i = 0; i < height; ++i)
        pixels[i] = data.get() + i * lineLength;
    __data = std::move(data);
    __pixels = std::move(pixels);
}

void Image::destroy() {
    reset();
}

void Image::reset() {
    __pixels.reset();
    __data.reset();
    __header.clear();
}

void Image::clear() {
    if (__data)
        std::memset(__data.get(), 0, dataLength());
}

void Image::swap(Image& image) {
    __header.swap(image.__header);
    std::swap(__data, image.__data);
    std::swap(__pixels, image.__pixels);
}

void Image::setHeader(const ImageHeader& header) {
    if (header == __header)
        return;
    if (header.getWidth() != getWidth() || header.getHeight() != getHeight() || header.getDepth() != getDepth() ||
        header.isReal() != isReal()) {
        __pixels.reset();
        __data.reset();
    }
    __header = header;
}

Vector<int> Image::getSize() const {
    Vector<int> size(2);
    size[0] = getHeight();
    size[1] = getWidth();
    return size;
}

int Image::bytesPerPixel() const {
    return bytesOfDepth(getDepth());
}

int Image::bytesPerLine() const {
    return getWidth() * bytesPerPixel();
}

std::size_t Image::dataLength() const {
    return static_cast<std::size_t>(getHeight()) * static_cast<std::size_t>(bytesPerLine());
}

bool Image::isIndexed() const {
    return getDepth() == 8 && __header.hasColormap();
}

void Image::setColormap(const Colormap& colormap) {
    __header.setColormap(colormap);
}

const Colormap* Image::getColormap() const {
    return __header.getColormap();
}

void Image::writeFile(const std::string& name, const std::string& directory, bool overwrite) const {
    ImageWriter().write(*this, directory.empty() ? name : directory + "/" + name, overwrite);
}

void Image::readFile(const std::string& name, const std::string& prefix) {
    ImageReader().read(*this, prefix + name);
}

void Image::print(const std::string& title, bool hideData) const {
    const ImageFormat format = __header.getImageFormat();
    const std::string formatName = format == NoImageFormat        ? "None"
                                   : format == UnknownImageFormat ? "Unknwon"
                                   : format == TiffImageFormat    ? "Tiff"
                                                                  : toString(format);
    if (!title.empty())
        std::cout << title << '\n';
    std::cout << "Rows:     " << getHeight() << '\n'
              << "Cols:     " << getWidth() << '\n'
              << "Depth:    " << getDepth() << '\n';
    if (__header.hasColormap())
        std::cout << "Colormap: " << getColormap()->getSize() << " cells\n";
    else
        std::cout << "Colormap:  none\n";
    std::cout << "Size:     " << dataLength() << " octets\n"
              << "Format:   " << formatName << '\n';
    if (!__data) {
        std::cout << "[No data allocated yet.]\n";
        return;
    }
    if (hideData) {
        std::cout << "Data: (not shown).\n";
        return;
    }
    Table red{}, green{}, blue{};
    if (isIndexed()) {
        const Colormap& colormap = *getColormap();
        red = lookupTable(colormap.getRed(), colormap.getSize());
        green = lookupTable(colormap.getGreen(), colormap.getSize());
        blue = lookupTable(colormap.getBlue(), colormap.getSize());
    }
    const int step = bytesPerPixel();
    char text[64];
    for (int i = 0; i < getHeight(); ++i) {
        const unsigned char* pixel = __pixels[i];
        for (int j = 0; j < getWidth(); ++j, pixel += step) {
            if (isIndexed())
                std::snprintf(text, sizeof text, "(%3d.%3d.%3d) ", red[*pixel], green[*pixel], blue[*pixel]);
            else if (isReal())
                std::snprintf(text, sizeof text, " %g", double(realRow(i)[j]));
            else if (step == 1)
                std::snprintf(text, sizeof text, "%4d", *pixel);
            else if (step == 2)
                std::snprintf(text, sizeof text, "%4d", wordAt(pixel, 0));
            else if (step == 3)
                std::snprintf(text, sizeof text, "(%3d.%3d.%3d) ", pixel[0], pixel[1], pixel[2]);
            else
                std::snprintf(text, sizeof text, "(%3d.%3d.%3d.%3d) ", pixel[0], pixel[1], pixel[2], pixel[3]);
            std::cout << text;
        }
        std::cout << '\n';
    }
}

void Image::paste(const Image& source, int x, int y) {
    const std::string where = "void Image::paste(...)";
    if (source.getDepth() != getDepth() || source.isReal() != isReal())
        throw DepthError(where, "Incompatible image depths");
    if (isIndexed() && (!source.isIndexed() || *source.getColormap() != *getColormap()))
        throw ColormapError(where, "Incompatible image colormaps");
    if (x < 0 || y < 0 || source.getWidth() > getWidth() - x || source.getHeight() > getHeight() - y)
        throw SizeError(where, "Incompatible size and position");
    const std::size_t offset = static_cast<std::size_t>(x) * static_cast<std::size_t>(bytesPerPixel());
    for (int i = 0; i < source.getHeight(); ++i)
        std::memmove(__pixels[y + i] + offset, source.__pixels[i], static_cast<std::size_t>(source.bytesPerLine()));
}

ImageColorContent Image::colorContent(unsigned char red, unsigned char green, unsigned char blue) const {
    if (red == green && green == blue)
        return GrayContent;
    if (green == 0 && blue == 0)
        return RedContent;
    if (red == 0 && blue == 0)
        return GreenContent;
    if (red == 0 && green == 0)
        return BlueContent;
    return MixedContent;
}

ImageColorContent Image::colorContent() const {
    if (isIndexed()) {
        const Colormap& colormap = *getColormap();
        if (colormap.isGrayscale())
            return GrayContent;
        if (colormap.isRedOnly())
            return RedContent;
        if (colormap.isGreenOnly())
            return GreenContent;
        return colormap.isBlueOnly() ? BlueContent : MixedContent;
    }
    if (!__data || dataLength() == 0)
        return UndefinedContent;
    if (getDepth() <= 16 || isReal())
        return GrayContent;
    const unsigned char* pixel = __data.get();
    const unsigned char* const end = pixel + dataLength();
    const int step = bytesPerPixel();
    const ImageColorContent content = colorContent(pixel[0], pixel[1], pixel[2]);
    for (; pixel < end; pixel += step)
        if (colorContent(pixel[0], pixel[1], pixel[2]) != content)
            return MixedContent;
    return content;
}

bool Image::isGrayscale() const {
    if (isIndexed())
        return getColormap()->isGrayscale();
    if (getDepth() <= 16 || isReal() || !__data)
        return true;
    const unsigned char* const end = __data.get() + dataLength();
    const int step = bytesPerPixel();
    for (const unsigned char* pixel = __data.get(); pixel < end; pixel += step)
        if (pixel[0] != pixel[1] || pixel[1] != pixel[2])
            return false;
    return true;
}

bool Image::onlyChannel(int offset) const {
    if (getDepth() <= 16 || isReal() || !__data)
        return false;
    const int first = (offset + 1) % 3;
    const int second = (offset + 2) % 3;
    const unsigned char* const end = __data.get() + dataLength();
    const int step = bytesPerPixel();
    for (const unsigned char* pixel = __data.get(); pixel < end; pixel += step)
        if ((pixel[first] | pixel[second]) != 0)
            return false;
    return true;
}

bool Image::isRedOnly() const {
    return isIndexed() ? getColormap()->isRedOnly() : onlyChannel(RedChannel);
}

bool Image::isGreenOnly() const {
    return isIndexed() ? getColormap()->isGreenOnly() : onlyChannel(GreenChannel);
}

bool Image::isBlueOnly() const {
    return isIndexed() ? getColormap()->isBlueOnly() : onlyChannel(BlueChannel);
}

void Image::setGrayscale(int n) {
    if (getDepth() != 8)
        return;
    if (n < 1) {
        __header.deleteColormap();
        return;
    }
    Colormap colormap(n);
    colormap.makeGrayscale();
    __header.setColormap(colormap);
}

void Image::make8bitsGrayscale() {
    if (isIndexed()) {
        __header.getColormap()->convertToGrayscale();
        return;
    }
    if (getDepth() == 8 || !__data)
        return;
    Image result(getWidth(), getHeight(), 8);
    const unsigned char* source = __data.get();
    unsigned char* target = result.__data.get();
    const std::size_t count = numPixels(*this);
    if (isReal()) {
        realToBytes(realRow(0), target, count);
    } else if (getDepth() == 16) {
        std::uint16_t greatest = 0;
        for (std::size_t i = 0; i < count; ++i)
            greatest = std::max(greatest, wordAt(source, i));
        if (greatest > 255) {
            const float factor = 255.0f / static_cast<float>(greatest);
            // Values are not negative, so that truncating after adding one half is the rounding used everywhere.
            for (std::size_t i = 0; i < count; ++i)
                target[i] = static_cast<unsigned char>(static_cast<float>(wordAt(source, i)) * factor + 0.5f);
        } else {
            for (std::size_t i = 0; i < count; ++i)
                target[i] = static_cast<unsigned char>(wordAt(source, i));
        }
    } else {
        const int step = bytesPerPixel();
        for (std::size_t i = 0; i < count; ++i, source += step)
            target[i] = static_cast<unsigned char>((source[0] + source[1] + source[2]) / 3);
    }
    swap(result);
}

void Image::make24bits() {
    if (getDepth() == 24)
        return;
    if (getDepth() != 8 || isReal())
        throw DepthError("void Image::make24bits()", "Cannot convert non-8 bits images");
    Table red, green, blue;
    if (isIndexed()) {
        const Colormap& colormap = *getColormap();
        red = lookupTable(colormap.getRed(), colormap.getSize());
        green = lookupTable(colormap.getGreen(), colormap.getSize());
        blue = lookupTable(colormap.getBlue(), colormap.getSize());
    } else {
        for (int i = 0; i < 256; ++i)
            red[i] = green[i] = blue[i] = static_cast<unsigned char>(i);
    }
    Image result(getWidth(), getHeight(), 24);
    const unsigned char* source = __data.get();
    unsigned char* target = result.__data.get();
    const std::size_t count = __data ? numPixels(*this) : 0;
    for (std::size_t i = 0; i < count; ++i, target += 3) {
        target[0] = red[source[i]];
        target[1] = green[source[i]];
        target[2] = blue[source[i]];
    }
    swap(result);
}

void Image::make32bits() {
    if (getDepth() != 24 || !__data)
        return;
    Image result(getWidth(), getHeight(), 32);
    const unsigned char* source = __data.get();
    unsigned char* target = result.__data.get();
    const std::size_t count = numPixels(*this);
    for (std::size_t i = 0; i < count; ++i, source += 3, target += 4) {
        target[0] = source[0];
        target[1] = source[1];
        target[2] = source[2];
        target[3] = 0;
    }
    swap(result);
}

Image Image::channel(ImageChannel channel) const {
    if (!__data)
        return Image();
    Image result(getWidth(), getHeight(), 8);
    const unsigned char* source = __data.get();
    unsigned char* target = result.__data.get();
    const std::size_t count = numPixels(*this);
    const int step = bytesPerPixel();
    if (channel == AlphaChannel && (getDepth() != 32 || isReal())) {
        result.clear();
    } else if (isReal()) {
        const float* const values = realRow(0);
        for (std::size_t i = 0; i < count; ++i)
            target[i] = nearestByte(values[i]);
    } else if (isIndexed()) {
        const Colormap& colormap = *getColormap();
        const unsigned char* const components[] = {colormap.getRed(), colormap.getGreen(), colormap.getBlue()};
        const Table table = lookupTable(components[channel], colormap.getSize());
        for (std::size_t i = 0; i < count; ++i)
            target[i] = table[source[i]];
    } else if (step == 1) {
        std::memcpy(target, source, count);
    } else if (step == 2) {
        // Gray levels of 16 bits have no channels; their high bytes are the nearest that 8 bits can hold.
        for (std::size_t i = 0; i < count; ++i)
            target[i] = static_cast<unsigned char>(wordAt(source, i) >> 8);
    } else {
        source += channel;
        for (std::size_t i = 0; i < count; ++i, source += step)
            target[i] = *source;
    }
    return result;
}

void Image::setChannel(ImageChannel channel, const PixelMatrix<unsigned char>& matrix) {
    if (matrix.getSize1() != getHeight() || matrix.getSize2() != getWidth())
        throw SizeError("void Image::setChannel(...)", "This image and pixelMatrix have different sizes");
    if (!__data)
        return;
    const int step = bytesPerPixel();
    const int offset = step > channel && step >= 3 ? channel : 0;
    for (int i = 0; i < getHeight(); ++i) {
        const unsigned char* source = matrix[i].data();
        if (isReal()) {
            std::copy_n(source, getWidth(), realRow(i));
            continue;
        }
        unsigned char* target = __pixels[i] + offset;
        for (int j = 0; j < getWidth(); ++j, target += step)
            *target = source[j];
    }
}

} // namespace vorlen
