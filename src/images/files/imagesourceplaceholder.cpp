#include "images/files/imagesourceplaceholder.h"

#include "files/fileinfo.h"
#include "images/files/imagesourcekinds.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

/// By the keyword and the kinds of the arguments.
const ImageSourceKind* kindOfStatement(const std::vector<ImageSourceKind>& kinds, const ImageStatement& statement) {
    for (const ImageSourceKind& kind : kinds) {
        bool fits = kind.keyword == statement.keyword && kind.make != nullptr &&
                    kind.arguments.size() == statement.arguments.size();
        for (std::size_t i = 0; fits && i < kind.arguments.size(); ++i)
            fits = (kind.arguments[i] == ImageSourceKind::File) ==
                   std::holds_alternative<std::string>(statement.arguments[i]);
        if (fits)
            return &kind;
    }
    return nullptr;
}

ImageStatement movedTo(ImageStatement statement, const std::string& directory) {
    for (ImageStatement::Argument& argument : statement.arguments)
        if (auto* file = std::get_if<std::string>(&argument); file != nullptr && !directory.empty())
            *file = directory + (directory.back() == '/' ? "" : "/") + FileInfo::fileName(*file);
    return statement;
}

} // namespace

ImageSourcePlaceholder::ImageSourcePlaceholder(const ImageStatement& statement, const std::string& reason)
    : __statement(statement), __reason(reason) {
}

ImageSourcePlaceholder::ImageSourcePlaceholder(const ImageSource& source, const std::string& reason)
    : __statement(source.getStatement()), __further(source.getFurtherStatements()), __reason(reason) {
}

ImageSourcePlaceholder* ImageSourcePlaceholder::clone() const {
    return new ImageSourcePlaceholder(*this);
}

int ImageSourcePlaceholder::getType() const {
    return -1;
}

bool ImageSourcePlaceholder::isDefined() const {
    return false;
}

int ImageSourcePlaceholder::getSize1() const {
    return __height;
}

int ImageSourcePlaceholder::getSize2() const {
    return __width;
}

int ImageSourcePlaceholder::getDepth() const {
    return 0;
}

const Colormap* ImageSourcePlaceholder::getColormap() const {
    return nullptr;
}

std::string ImageSourcePlaceholder::getName() const {
    const std::vector<std::string> files = getFilenames();
    return files.empty() ? __statement.keyword : files.front();
}

void ImageSourcePlaceholder::read(ImageReader&, Image&) const {
    throw FileReadError("void ImageSourcePlaceholder::read(ImageReader&, Image&) const", __reason, getName());
}

ImageStatement ImageSourcePlaceholder::getStatement() const {
    return __statement;
}

std::vector<ImageStatement> ImageSourcePlaceholder::getFurtherStatements() const {
    return __further;
}

bool ImageSourcePlaceholder::addStatement(const ImageStatement& statement) {
    __further.push_back(statement);
    return true;
}

std::unique_ptr<ImageSource> ImageSourcePlaceholder::resolve(const std::vector<ImageSourceKind>& kinds,
                                                             const std::string& directory) const {
    const char* const where = "ImageSourcePlaceholder::resolve(...)";
    const ImageSourceKind* const kind = kindOfStatement(kinds, __statement);
    if (kind == nullptr)
        throw ValueError(where, "There is no such kind of image");
    std::unique_ptr<ImageSource> source = kind->make(movedTo(__statement, directory));
    for (const ImageStatement& statement : __further)
        if (!source->addStatement(movedTo(statement, directory)))
            throw ValueError(where, "The image does not take all of its statements");
    return source;
}

} // namespace vorlen
