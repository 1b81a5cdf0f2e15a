#include "images/rasters/imageheader.h"

#include <utility>

namespace vorlen {

ImageHeader::ImageHeader(const ImageHeader& header)
    : __format(header.__format), __height(header.__height), __width(header.__width), __depth(header.__depth),
      __isReal(header.__isReal), __valueType(header.__valueType),
      __colormap(header.__colormap ? std::make_unique<Colormap>(*header.__colormap) : nullptr),
      __pixelCalibration(header.__pixelCalibration) {
}

ImageHeader& ImageHeader::operator=(const ImageHeader& header) {
    if (this != &header) {
        ImageHeader copy(header);
        swap(copy);
    }
    return *this;
}

void ImageHeader::clear() {
    ImageHeader empty;
    swap(empty);
}

void ImageHeader::swap(ImageHeader& header) {
    std::swap(__format, header.__format);
    std::swap(__height, header.__height);
    std::swap(__width, header.__width);
    std::swap(__depth, header.__depth);
    std::swap(__isReal, header.__isReal);
    std::swap(__valueType, header.__valueType);
    std::swap(__colormap, header.__colormap);
    std::swap(__pixelCalibration, header.__pixelCalibration);
}

void ImageHeader::setImageFormat(ImageFormat format) {
    __format = format;
}

ImageFormat ImageHeader::getImageFormat() const {
    return __format;
}

void ImageHeader::setHeight(int height) {
    __height = height;
}

int ImageHeader::getHeight() const {
    return __height;
}

void ImageHeader::setWidth(int width) {
    __width = width;
}

int ImageHeader::getWidth() const {
    return __width;
}

void ImageHeader::setDepth(int depth) {
    __depth = depth;
}

int ImageHeader::getDepth() const {
    return __depth;
}

void ImageHeader::setReal(bool real) {
    __isReal = real;
}

bool ImageHeader::isReal() const {
    return __isReal;
}

void ImageHeader::setValueType(const ValueType& type) {
    __valueType = type;
}

const ValueType& ImageHeader::getValueType() const {
    return __valueType;
}

void ImageHeader::setPixelCalibration(const PixelCalibration& calibration) {
    __pixelCalibration = calibration;
}

const PixelCalibration& ImageHeader::getPixelCalibration() const {
    return __pixelCalibration;
}

void ImageHeader::setColormap(const Colormap& colormap) {
    if (__depth == 8)
        __colormap = std::make_unique<Colormap>(colormap);
}

const Colormap* ImageHeader::getColormap() const {
    return __colormap.get();
}

Colormap* ImageHeader::getColormap() {
    return __colormap.get();
}

bool ImageHeader::hasColormap() const {
    return __colormap != nullptr;
}

void ImageHeader::deleteColormap() {
    __colormap.reset();
}

bool ImageHeader::operator==(const ImageHeader& header) const {
    return __height == header.__height && __width == header.__width && __depth == header.__depth &&
           __isReal == header.__isReal && __valueType == header.__valueType &&
           __pixelCalibration == header.__pixelCalibration && __format == header.__format;
}

bool ImageHeader::operator!=(const ImageHeader& header) const {
    return !(*this == header);
}

} // namespace vorlen
