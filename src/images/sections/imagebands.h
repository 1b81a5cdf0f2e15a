#pragma once

#include <functional>
#include <memory>
#include <string>

#include "images/files/samplesink.h"
#include "images/rasters/image.h"

namespace vorlen {

class ImageFile;

/// An image of this size that holds what one with the header holds, which is plain: grey, real or colours.
Image plainImage(int width, int height, const ImageHeader& like);

/// Makes images of the rows of a page as they come, of so many rows each, from the first down or from the last up: of a
/// picture that is read as a whole no more is in memory. Page and channel are counted as by ImageReader; the images are
/// plain.
class BandSink : public SampleSink {
public:
    /// Throws as ImageFile::getPage(). The file is seen, not owned.
    BandSink(ImageFile& file, int page, int channel, int bandHeight);
    ~BandSink() override;

    /// Throws FileFormatError for rows in another order.
    bool takeRow(int row, const unsigned char* samples) override;

    /// Gets each band with the number of its first row; the last one down has the rows that are left. False to stop.
    std::function<bool(const Image& image, int top)> onBand;

private:
    class Band;

    std::unique_ptr<Band> __band;
    int __height, __channel, __bandHeight;
    int __top = 0, __numRows = 0;
};

/// The picture of a file in a small size, read row by row, with the memory of a few rows beside what the decoder of the
/// format needs: halved as by LevelBuilder::halved() until neither width nor height is above the side. Page and channel
/// are counted as by ImageReader. False, with the image as it was, when told() says so, which hears of the share that
/// is done. Throws as ImageReader::read().
bool readReduced(Image& image, const std::string& filename, int page, int channel, int side,
                 const std::function<bool(double)>& told = {});

} // namespace vorlen
