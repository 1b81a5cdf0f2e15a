#include "images/sections/imagebands.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "images/files/imagefile.h"
#include "images/files/imagereader.h"
#include "images/rasters/colormapexpansion.h"
#include "images/sections/levelbuilder.h"
#include "numerics/exception.h"

namespace vorlen {

/// Rows in memory as a file of one page, so that they become an image by the rules of the reader.
class BandSink::Band : public ImageFile {
public:
    Band(ImageFile& file, const ImagePage& page_)
        : ImageFile(file.getFilename()), page(page_), __format(file.getFormat()) {}

    ImageFormat getFormat() const override { return __format; }
    int getNumPages() override { return 1; }
    ImagePage getPage(int) override { return page; }
    void read(int, SampleSink& sink) override {
        for (int i = 0; i < page.height; ++i)
            if (!sink.takeRow(i, &rows[std::size_t(i) * page.rowLength()]))
                return;
    }

    ImagePage page;
    std::vector<unsigned char> rows;

private:
    ImageFormat __format;
};

Image plainImage(int width, int height, const ImageHeader& like) {
    Image image;
    if (like.isReal())
        image.initReal(width, height);
    else
        image.init(width, height, like.getDepth());
    return image;
}

BandSink::BandSink(ImageFile& file, int page, int channel, int bandHeight)
    : __band(std::make_unique<Band>(file, file.getPage(page))), __height(__band->page.height), __channel(channel),
      __bandHeight(bandHeight) {
}

BandSink::~BandSink() = default;

bool BandSink::takeRow(int row, const unsigned char* samples) {
    const int top = row / __bandHeight * __bandHeight;
    const std::size_t length = __band->page.rowLength();
    if (__numRows == 0) {
        __top = top;
        __band->page.height = std::min(__bandHeight, __height - top);
        __band->rows.resize(length * std::size_t(__band->page.height));
    }
    if (top != __top)
        throw FileFormatError("bool BandSink::takeRow(int, const unsigned char*)",
                              "The rows of this picture come in no order that it can be kept in",
                              __band->getFilename());
    std::memcpy(&__band->rows[std::size_t(row - top) * length], samples, length);
    if (++__numRows < __band->page.height)
        return true;
    __numRows = 0;
    Image image;
    ImageReader().read(image, *__band, 0, __channel);
    ColormapExpansion::removeColormap(image);
    return !onBand || onBand(image, top);
}

bool readReduced(Image& image, const std::string& filename, int page, int channel, int side,
                 const std::function<bool(double)>& told) {
    const std::unique_ptr<ImageFile> file = ImageFile::open(filename);
    const ImagePage description = file->getPage(page);
    file->requireWhole(page);
    int width = description.width, height = description.height, numHalvings = 0;
    for (; std::max(width, height) > std::max(side, 1); ++numHalvings) {
        width = width / 2 + width % 2;
        height = height / 2 + height % 2;
    }
    Image result;
    int numDone = 0;
    bool isStopped = false;
    BandSink sink(*file, page, channel, 1 << numHalvings);
    sink.onBand = [&](const Image& band, int top) {
        Image reduced(band);
        for (int k = 0; k < numHalvings; ++k) {
            Image halved = LevelBuilder::halved(reduced);
            reduced.swap(halved);
        }
        if (numDone == 0)
            result = plainImage(width, height, band.getHeader());
        std::memcpy(result.getPixels()[top >> numHalvings], reduced.getPixels()[0],
                    static_cast<std::size_t>(std::min(result.bytesPerLine(), reduced.bytesPerLine())));
        ++numDone;
        isStopped = told && !told(double(numDone) / height);
        return !isStopped;
    };
    file->read(page, sink);
    if (isStopped || numDone < height)
        return false;
    image.swap(result);
    return true;
}

} // namespace vorlen
