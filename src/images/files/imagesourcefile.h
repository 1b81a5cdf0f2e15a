#pragma once

#include "images/rasters/imageheader.h"
#include "values/imagesource.h"

#include <memory>
#include <optional>
#include <string>

namespace vorlen {

/// Image source of kind 0: one image file. Size, depth and colormap come from the file's header, which is read once,
/// when the name is set.
class ImageSourceFile : public ImageSource {
public:
    ImageSourceFile* clone() const override;
    int getType() const override;
    /// True when a file name is set.
    bool isDefined() const override;
    /// Height, width and depth; 0 without a file name.
    int getSize1() const override;
    int getSize2() const override;
    int getDepth() const override;
    const Colormap* getColormap() const override;
    /// The file's name.
    std::string getName() const override;
    std::string getValueType() const override;
    bool isReal() const override;
    void read(ImageReader& reader, Image& image) const override;
    bool measure(ImageReader& reader, PixelStatistics& statistics) const override;
    /// SLICE file
    ImageStatement getStatement() const override;
    static std::unique_ptr<ImageSource> make(const ImageStatement& statement);

    /// The file must exist. Throws what ImageReader throws on reading the header, and then stays as it was.
    void setFilename(const std::string& filename);
    const std::string& getFilename() const;
    /// Nothing without a file name.
    const std::optional<ImageHeader>& getHeader() const;

private:
    std::string __filename;
    std::optional<ImageHeader> __header;
};

} // namespace vorlen
