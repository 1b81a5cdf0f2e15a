#pragma once

#include "images/rasters/imageheader.h"

#include <optional>
#include <string>

namespace vorlen {

class Image;
class ImageReader;
class ImageSourceFile;

/// Tile of an ImageMosaic: a file name, the path of its folder and the file's header.
class ImageMosaicItem {
public:
    ImageMosaicItem() = default;
    /// A tile with the file's whole name and an empty path name.
    explicit ImageMosaicItem(const ImageSourceFile& file);

    /// Stores both and reads the header of the file in the folder; with an empty path name no header is read and
    /// sizes and depth are 0. Throws what ImageReader throws, and then stays as it was.
    void setFilename(const std::string& filename, const std::string& pathname);
    const std::string& getFilename() const;
    const std::string& getPathname() const;
    /// Path name and file name joined directly: the path name is expected to end in a separator.
    std::string completeFileName() const;

    int getWidth() const;
    int getHeight() const;
    int getDepth() const;
    /// Unsigned values of 8 bits without a header.
    ValueType getValueType() const;
    bool isReal() const;
    const Colormap* getColormap() const;

    /// Reads the image of completeFileName(), with a reader of its own or with this one.
    void load(Image& image) const;
    void load(Image& image, ImageReader& reader) const;

private:
    std::string __filename;
    std::string __pathname;
    std::optional<ImageHeader> __header;
};

} // namespace vorlen
