#include "document/stackreader.h"

#include <algorithm>
#include <memory>
#include <variant>

#include "document/stack.h"
#include "document/stackslice.h"
#include "document/standardimage.h"
#include "document/statementarguments.h"
#include "files/fileinfo.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagesourcekinds.h"
#include "images/files/imagesourceplaceholder.h"
#include "numerics/exception.h"

namespace vorlen {

using namespace statements;

namespace {

/// A pipe or a device in place of an image could keep its reader waiting for ever. What is not there is the image
/// reader's to tell.
void requireRegularFile(const std::string& name) {
    if (FileInfo::isSpecial(name))
        throw FileReadError("bool StackReader::read(...)", "Not a regular file", name);
}

void requireRegularFiles(const ImageStatement& statement) {
    for (const ImageStatement::Argument& argument : statement.arguments)
        if (const auto* file = std::get_if<std::string>(&argument))
            requireRegularFile(*file);
}

std::string join(const std::string& directory, std::string_view file) {
    std::string path = directory;
    if (path.empty() || path.back() != '/')
        path += '/';
    path += file;
    requirePathLength(path);
    return path;
}

/// The current slice's source. The slice owns it; this reader has made it, and fills it in place: a copy for each tile
/// would make the cost of a mosaic quadratic.
ImageSource& currentImageSource(const StackIOContext& context) {
    const vorlen::StackSlice& slice = required(context.getSlice());
    try {
        return const_cast<ImageSource&>(slice.getImageSource());
    } catch (const ProgramError&) {
        throw StackReader::ContextError();
    }
}

} // namespace

/// Also of words that are no keyword of the format's own.
void StackReader::inputImageStatement(const Tokens& tokens, StackIOContext& context) {
    const ImageSourceKind& kind = imageSourceKind(tokens);
    if (kind.make != nullptr)
        beginSlice(kind, tokens, context);
    else
        addToImage(kind, tokens, context);
}

/// By the keyword and the number of arguments.
const ImageSourceKind& StackReader::imageSourceKind(const Tokens& tokens) const {
    bool known = false;
    for (const ImageSourceKind& kind : __imageSourceKinds) {
        if (kind.keyword != tokens.front())
            continue;
        known = true;
        const std::size_t first = kind.make != nullptr ? 2 : 1;
        if (tokens.size() == first + kind.arguments.size())
            return kind;
    }
    if (!known)
        throw KeywordError();
    throw NumArgsError();
}

/// The statement with the whole path of its file. Throws ArgValueError.
ImageStatement StackReader::imageStatement(const ImageSourceKind& kind, const Tokens& tokens,
                                           const StackIOContext& context) {
    ImageStatement statement{kind.keyword, {}};
    std::size_t token = tokens.size() - kind.arguments.size();
    // What is made room for costs memory also where the product is 0.
    long long product = 1, sum = 0;
    for (const ImageSourceKind::Argument argument : kind.arguments) {
        const std::string_view text = tokens[token++];
        if (argument == ImageSourceKind::File) {
            statement.arguments.emplace_back(imagePath(text, context));
            continue;
        }
        const int number = argument == ImageSourceKind::Size ? toSize(text) : toInt(text);
        statement.arguments.emplace_back(number);
        if (argument == ImageSourceKind::Size) {
            product *= number;
            sum += number;
            if (std::max(product, sum) > __placesLeft)
                throw ArgValueError();
        }
    }
    if (sum > 0)
        __placesLeft -= std::max(product, sum);
    return statement;
}

void StackReader::beginSlice(const ImageSourceKind& kind, const Tokens& tokens, StackIOContext& context) {
    required(context.getStack());
    const ImageStatement statement = imageStatement(kind, tokens, context);
    std::unique_ptr<ImageSource> source;
    try {
        requireRegularFiles(statement);
        source = kind.make(statement);
    } catch (const Exception& error) {
        addFatalError();
        const ImageSourcePlaceholder placeholder(statement, error.getWhat());
        addSlice(tokens[1], placeholder, context);
        if (dynamic_cast<const FileError*>(&error) != nullptr)
            throw;
        throw FileFormatError("void StackReader::beginSlice(...)", error.getWhat(), placeholder.getName());
    }
    addSlice(tokens[1], *source, context);
}

void StackReader::addToImage(const ImageSourceKind& kind, const Tokens& tokens, StackIOContext& context) {
    ImageSource& source = currentImageSource(context);
    const ImageStatement statement = imageStatement(kind, tokens, context);
    bool taken = false;
    try {
        requireRegularFiles(statement);
        taken = source.addStatement(statement);
    } catch (const RangeError&) {
        throw ArgValueError();
    } catch (const FileError& error) { // of the whole image one part is lost
        addFatalError();
        ImageSourcePlaceholder placeholder(source, error.getWhat());
        placeholder.addStatement(statement);
        context.getSlice()->setImageSource(placeholder);
        throw;
    } catch (const Exception&) {
        addFatalError();
        throw;
    }
    if (!taken)
        throw ContextError();
}

/// A new current slice with the stack's defaults.
void StackReader::addSlice(std::string_view name, const ImageSource& source, StackIOContext& context) {
    Stack& stack = *context.getStack();
    auto slice = std::make_unique<vorlen::StackSlice>();
    slice->setName(toName(name));
    slice->setImageSource(source);
    slice->setPixelCalibration(stack.getDefaultPixelCalibration());
    slice->setRelativePosition(stack.getDefaultRelativePosition());
    slice->setStack(&stack);
    stack.addSlice(slice.get());
    context.setSlice(slice.release());
}

std::string StackReader::imagePath(std::string_view file, const StackIOContext& context) const {
    const std::string name = toName(file);
    if (ensureFileFormatVersion(1.01f))
        return join(context.getImagesPath(), name);
    return isAbsolute(name) ? name : join(required(context.getStack()).getImagesPath(), name);
}

void StackReader::inputImagesPath(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    Stack& stack = required(context.getStack());
    const std::string path = toName(tokens[1]);
    const bool newer = ensureFileFormatVersion(1.01f);
    const std::string base = newer ? directoryOf(context.getFileName()) : stack.getImagesPath();
    const std::string whole = isAbsolute(path) ? path : base + path;
    requirePathLength(whole);
    if (newer) {
        context.setImagesPath(whole);
    } else {
        stack.setAbsoluteImagesPathPolicy(isAbsolute(path));
        stack.setImagesPath(whole);
    }
}

void StackReader::inputAbsoluteImagesPathPolicy(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getStack()).setAbsoluteImagesPathPolicy(toBool(tokens[1]));
}

/// The size serves a lost image; any other knows its own.
void StackReader::inputSliceSize(const Tokens& tokens, StackIOContext& context) {
    vorlen::StackSlice& slice = required(context.getSlice());
    requireArguments(tokens, 1);
    const bool isHeight = tokens.front() == getString(SliceSize1);
    const int length = std::max(toInt(tokens[1]), 0);
    Slice::StatedSize size = slice.getStatedSize();
    (isHeight ? size.height : size.width) = length;
    slice.setStatedSize(size);
    if (!slice.hasImageSource())
        return;
    if (auto* const lost = dynamic_cast<ImageSourcePlaceholder*>(&currentImageSource(context)))
        isHeight ? lost->setSize1(length) : lost->setSize2(length);
}

void StackReader::inputStandardImage(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 2);
    Stack& stack = required(context.getStack());
    auto image = std::make_unique<StandardImage>();
    image->setName(toName(tokens[1]));
    image->setStack(stack);
    if (!tokens[2].empty()) {
        image->setFileName(imagePath(tokens[2], context));
        try {
            requireRegularFile(image->getFileName());
            ImageSourceFile source;
            source.setFilename(image->getFileName());
            image->setImageSource(source);
        } catch (const Exception&) {
            // The image keeps its file's name, and whoever needs its pixels learns that it has none.
        }
    }
    stack.addStandardImage(image.get());
    context.setStandardImage(image.release());
}

} // namespace vorlen
