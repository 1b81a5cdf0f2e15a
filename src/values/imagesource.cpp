#include "values/imagesource.h"

namespace vorlen {

ImageSource::~ImageSource() = default;

Vector<int> ImageSource::getSize() const {
    Vector<int> size(2);
    size[0] = getSize1();
    size[1] = getSize2();
    return size;
}

std::string ImageSource::getValueType() const {
    return getDepth() == 16 ? "uint16" : "uint8";
}

bool ImageSource::isReal() const {
    return false;
}

bool ImageSource::measure(ImageReader&, PixelStatistics&) const {
    return false;
}

std::vector<ImageStatement> ImageSource::getFurtherStatements() const {
    return {};
}

bool ImageSource::addStatement(const ImageStatement&) {
    return false;
}

std::string ImageSource::findFault() const {
    return "";
}

std::vector<std::string> ImageSource::getFilenames() const {
    std::vector<std::string> names;
    const auto addFiles = [&names](const ImageStatement& statement) {
        for (const ImageStatement::Argument& argument : statement.arguments)
            if (const auto* name = std::get_if<std::string>(&argument))
                names.push_back(*name);
    };
    addFiles(getStatement());
    for (const ImageStatement& statement : getFurtherStatements())
        addFiles(statement);
    return names;
}

bool ImageSource::isSameImage(const ImageSource& other) const {
    return getSize1() == other.getSize1() && getSize2() == other.getSize2() && getStatement() == other.getStatement() &&
           getFurtherStatements() == other.getFurtherStatements();
}

} // namespace vorlen
