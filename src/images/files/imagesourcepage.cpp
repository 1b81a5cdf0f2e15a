#include "images/files/imagesourcepage.h"

#include "images/files/imagefile.h"
#include "images/files/imagereader.h"
#include "numerics/exception.h"

namespace vorlen {

ImageSourcePage* ImageSourcePage::clone() const {
    return new ImageSourcePage(*this);
}

int ImageSourcePage::getType() const {
    return 3;
}

bool ImageSourcePage::isDefined() const {
    return !__filename.empty();
}

int ImageSourcePage::getSize1() const {
    return __header.getHeight();
}

int ImageSourcePage::getSize2() const {
    return __header.getWidth();
}

int ImageSourcePage::getDepth() const {
    return __header.getDepth();
}

const Colormap* ImageSourcePage::getColormap() const {
    return __header.getColormap();
}

std::string ImageSourcePage::getName() const {
    return __filename + ":" + std::to_string(__page) + (__channel > 0 ? ":" + std::to_string(__channel) : "");
}

std::string ImageSourcePage::getValueType() const {
    return __header.getValueType().name();
}

bool ImageSourcePage::isReal() const {
    return __header.isReal();
}

void ImageSourcePage::read(ImageReader& reader, Image& image) const {
    reader.read(image, __filename, __page - 1, __channel);
}

bool ImageSourcePage::measure(ImageReader& reader, PixelStatistics& statistics) const {
    statistics = reader.measure(__filename, __page - 1, __channel);
    return true;
}

ImageStatement ImageSourcePage::getStatement() const {
    return {"PAGE", {__filename, __page, __channel}};
}

std::unique_ptr<ImageSource> ImageSourcePage::make(const ImageStatement& statement) {
    auto source = std::make_unique<ImageSourcePage>();
    try {
        source->setPlace(statement.file(0), statement.number(1), statement.number(2));
    } catch (const RangeError& error) {
        throw FileReadError("ImageSourcePage::make(...)", error.getWhat(), statement.file(0));
    }
    return source;
}

void ImageSourcePage::setPlace(const std::string& filename, int page, int channel) {
    try {
        setPlace(*ImageFile::open(filename), page, channel);
    } catch (Exception& exception) {
        exception.addWhere("void ImageSourcePage::setPlace(...)");
        throw;
    }
}

void ImageSourcePage::setPlace(ImageFile& file, int page, int channel) {
    ImageHeader header;
    header.setImageFormat(file.getFormat());
    file.getPage(page > 0 ? page - 1 : -1).fillHeader(header, channel);
    __filename = file.getFilename();
    __page = page;
    __channel = channel;
    __header.swap(header);
}

const std::string& ImageSourcePage::getFilename() const {
    return __filename;
}

int ImageSourcePage::getPage() const {
    return __page;
}

int ImageSourcePage::getChannel() const {
    return __channel;
}

} // namespace vorlen
