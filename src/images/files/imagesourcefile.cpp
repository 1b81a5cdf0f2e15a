#include "images/files/imagesourcefile.h"

#include "images/files/imagereader.h"
#include "numerics/exception.h"

#include <utility>

namespace vorlen {

ImageSourceFile* ImageSourceFile::clone() const {
    return new ImageSourceFile(*this);
}

int ImageSourceFile::getType() const {
    return 0;
}

bool ImageSourceFile::isDefined() const {
    return !__filename.empty();
}

int ImageSourceFile::getSize1() const {
    return __header ? __header->getHeight() : 0;
}

int ImageSourceFile::getSize2() const {
    return __header ? __header->getWidth() : 0;
}

int ImageSourceFile::getDepth() const {
    return __header ? __header->getDepth() : 0;
}

const Colormap* ImageSourceFile::getColormap() const {
    return __header ? __header->getColormap() : nullptr;
}

std::string ImageSourceFile::getName() const {
    return __filename;
}

std::string ImageSourceFile::getValueType() const {
    return __header ? __header->getValueType().name() : ImageSource::getValueType();
}

bool ImageSourceFile::isReal() const {
    return __header && __header->isReal();
}

void ImageSourceFile::read(ImageReader& reader, Image& image) const {
    reader.read(image, __filename);
}

bool ImageSourceFile::measure(ImageReader& reader, PixelStatistics& statistics) const {
    statistics = reader.measure(__filename, 0, 0);
    return true;
}

ImageStatement ImageSourceFile::getStatement() const {
    return {"SLICE", {__filename}};
}

std::unique_ptr<ImageSource> ImageSourceFile::make(const ImageStatement& statement) {
    auto source = std::make_unique<ImageSourceFile>();
    source->setFilename(statement.file(0));
    return source;
}

void ImageSourceFile::setFilename(const std::string& filename) {
    ImageHeader header;
    try {
        ImageReader().read(header, filename);
    } catch (Exception& exception) {
        exception.addWhere("void ImageSourceFile::setFilename(const string&)");
        throw;
    }
    __filename = filename;
    __header = std::move(header);
}

const std::string& ImageSourceFile::getFilename() const {
    return __filename;
}

const std::optional<ImageHeader>& ImageSourceFile::getHeader() const {
    return __header;
}

} // namespace vorlen
