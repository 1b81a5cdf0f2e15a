#include "images/files/imagesourcefile.h"

#include "images/files/imagereader.h"
#include "numerics/exception.h"

#include <utility>

namespace vorlen {

ImageSourceFile::ImageSourceFile(const ImageSourceFile& source)
    : ImageSource(source), __filename(source.__filename),
      __header(source.__header ? std::make_unique<ImageHeader>(*source.__header) : nullptr) {
}

ImageSourceFile& ImageSourceFile::operator=(const ImageSourceFile& source) {
    if (this != &source) {
        ImageSourceFile copy(source);
        std::swap(__filename, copy.__filename);
        std::swap(__header, copy.__header);
    }
    return *this;
}

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
    return __header ? static_cast<const ImageHeader&>(*__header).getColormap() : nullptr;
}

void ImageSourceFile::setFilename(const std::string& filename) {
    auto header = std::make_unique<ImageHeader>();
    try {
        ImageReader().read(*header, filename);
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

} // namespace vorlen
