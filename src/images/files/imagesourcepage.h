#pragma once

#include "images/rasters/imageheader.h"
#include "values/imagesource.h"

#include <memory>
#include <string>

namespace vorlen {

class ImageFile;

/// Image source of kind 3: a page of an image file that holds several, a plane of a volume say, or a channel of a page.
///
/// What there is to know is read from the file once, when the place is set.
class ImageSourcePage : public ImageSource {
public:
    ImageSourcePage* clone() const override;
    int getType() const override;
    /// True when a file name is set.
    bool isDefined() const override;
    /// Height, width and depth; 0 without a file name.
    int getSize1() const override;
    int getSize2() const override;
    int getDepth() const override;
    const Colormap* getColormap() const override;
    /// The file's name, a colon and the page, with another colon and the channel if there is one.
    std::string getName() const override;
    std::string getValueType() const override;
    bool isReal() const override;
    void read(ImageReader& reader, Image& image) const override;
    bool measure(ImageReader& reader, PixelStatistics& statistics) const override;
    /// PAGE file page channel
    ImageStatement getStatement() const override;
    /// Throws FileReadError if the file has no such page or channel, and as setPlace().
    static std::unique_ptr<ImageSource> make(const ImageStatement& statement);

    /// Pages are counted from 1, channels too, where 0 means all that the page has. Throws RangeError for a page or
    /// channel that there is not, and what ImageReader throws on reading the header; this then stays as it was.
    void setPlace(const std::string& filename, int page, int channel);
    /// The same of a file that is open, which saves opening it for each of its pages.
    void setPlace(ImageFile& file, int page, int channel);
    const std::string& getFilename() const;
    int getPage() const;
    int getChannel() const;

private:
    std::string __filename;
    int __page = 1;
    int __channel = 0;
    ImageHeader __header;
};

} // namespace vorlen
