#pragma once

#include "images/rasters/imageheader.h"
#include "values/imagesource.h"

#include <memory>
#include <string>

namespace vorlen {

/// Image source of kind 0: one image file. Size, depth and colormap come from the file's header, which is read once,
/// when the name is set.
class ImageSourceFile : public ImageSource {
public:
    ImageSourceFile() = default;
    ImageSourceFile(const ImageSourceFile& source);
    ImageSourceFile& operator=(const ImageSourceFile& source);

    ImageSourceFile* clone() const override;
    int getType() const override;
    /// True when a file name is set.
    bool isDefined() const override;
    /// Height, width and depth; 0 without a file name.
    int getSize1() const override;
    int getSize2() const override;
    int getDepth() const override;
    const Colormap* getColormap() const override;

    /// The file must exist. Throws what ImageReader throws on reading the header, and then stays as it was.
    void setFilename(const std::string& filename);
    const std::string& getFilename() const;

private:
    std::string __filename;
    std::unique_ptr<ImageHeader> __header;
};

} // namespace vorlen
