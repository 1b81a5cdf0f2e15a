#pragma once

#include "images/rasters/colormap.h"
#include "images/rasters/imageformat.h"
#include "images/rasters/valuetype.h"
#include "values/pixelcalibration.h"

#include <memory>

namespace vorlen {

/// What is known of an image without its pixels: format, height and width in pixels, depth in bits per pixel, whether
/// the pixels are real numbers, type of the values in the file, colormap (owned, null when there is none) and pixel
/// calibration.
///
/// A copy takes everything over, also the absence of a colormap.
class ImageHeader {
public:
    ImageHeader() = default;
    ImageHeader(const ImageHeader& header);
    ImageHeader& operator=(const ImageHeader& header);

    /// Zeroes all fields, resets the calibration and deletes the colormap.
    void clear();
    void swap(ImageHeader& header);

    void setImageFormat(ImageFormat format);
    ImageFormat getImageFormat() const;
    void setHeight(int height);
    int getHeight() const;
    void setWidth(int width);
    int getWidth() const;
    void setDepth(int depth);
    int getDepth() const;
    /// Whether a pixel is one grey value of type float; the depth is 32 then.
    void setReal(bool real);
    bool isReal() const;
    /// What the file holds, which the pixels may keep in another type: unsigned and of 8 bits at first.
    void setValueType(const ValueType& type);
    const ValueType& getValueType() const;
    void setPixelCalibration(const PixelCalibration& calibration);
    const PixelCalibration& getPixelCalibration() const;

    /// Replaces the colormap by a copy of the argument. Does nothing unless the depth is already 8.
    void setColormap(const Colormap& colormap);
    const Colormap* getColormap() const;
    Colormap* getColormap();
    bool hasColormap() const;
    void deleteColormap();

    /// Compares height, width, depth, kind and type of the values, calibration and format; the colormap does not take
    /// part.
    bool operator==(const ImageHeader& header) const;
    bool operator!=(const ImageHeader& header) const;

private:
    ImageFormat __format = NoImageFormat;
    int __height = 0;
    int __width = 0;
    int __depth = 0;
    bool __isReal = false;
    ValueType __valueType;
    std::unique_ptr<Colormap> __colormap;
    PixelCalibration __pixelCalibration;
};

} // namespace vorlen
