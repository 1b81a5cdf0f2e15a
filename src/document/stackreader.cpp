#include "document/stackreader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <locale>
#include <memory>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "document/model.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "document/statementarguments.h"
#include "files/fileinfo.h"
#include "images/files/imagesourcekinds.h"
#include "numerics/exception.h"

namespace vorlen {

using namespace statements;

namespace {

/// The classic locale as the global one, as long as this lives.
class ClassicLocale {
public:
    ClassicLocale() : __old(std::locale::global(std::locale::classic())) {}
    ClassicLocale(const ClassicLocale&) = delete;
    ClassicLocale& operator=(const ClassicLocale&) = delete;
    ~ClassicLocale() { std::locale::global(__old); }

private:
    std::locale __old;
};

/// What a file holds, in memory that is taken as it is read into.
struct FileText {
    std::unique_ptr<char[]> bytes;
    std::size_t length = 0;
    int error = 0; // the number of the one that broke the reading off; what was got is there
};

constexpr std::size_t bytesAtOnce = std::size_t(8) << 20; // of a file

/// The whole file; nothing when it cannot be opened or is no regular file. Opening does not wait for a pipe's writer.
/// Of a long one each part is told of when it is there.
std::optional<FileText> readFile(const std::string& name, const std::function<void()>& readPart) {
    const int file = ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return std::nullopt;
    struct Closing {
        int file;
        ~Closing() { ::close(file); }
    } const closing{file};
    struct stat info;
    if (::fstat(file, &info) != 0 || !S_ISREG(info.st_mode))
        return std::nullopt;
    const auto size = static_cast<std::size_t>(info.st_size);
    FileText text;
    text.bytes = std::make_unique_for_overwrite<char[]>(size);
    while (text.length < size) {
        const ssize_t got = ::read(file, text.bytes.get() + text.length, std::min(size - text.length, bytesAtOnce));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            text.error = errno;
        if (got <= 0)
            break;
        text.length += static_cast<std::size_t>(got);
        if (text.length < size && size > bytesAtOnce)
            readPart();
    }
    return text;
}

constexpr std::size_t bytesGivenBack = std::size_t(16) << 20; // of a long text at once

/// Gives the memory of the whole pages between these places back: nothing of what stood there is left.
void giveBack(char* from, char* to) {
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const std::uintptr_t first = (reinterpret_cast<std::uintptr_t>(from) + page - 1) / page * page;
    const std::uintptr_t last = reinterpret_cast<std::uintptr_t>(to) / page * page;
    if (last > first)
        ::madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
}

bool hasStatement(const char* from, const char* to) {
    const std::string_view text(from, static_cast<std::size_t>(to - from));
    const std::size_t start = statementStart(text);
    return start < text.size() && text[start] != ';';
}

} // namespace

StackReader::StackReader() : StackReader(imageSourceKinds()) {
}

StackReader::StackReader(const std::vector<ImageSourceKind>& kinds) : __imageSourceKinds(kinds) {
}

bool StackReader::read(Stack& stack, const std::string& fileName) {
    const std::string name = FileInfo::suffixName(fileName) == "sdf" ? fileName : fileName + ".sdf";
    clearLog();
    bool begun = false;
    const std::optional<FileText> text = readFile(name, [&] {
        if (!std::exchange(begun, true))
            notifyStarted("Reading " + name + "...");
        notifyProgressed(0, 100);
    });
    if (text)
        readText(stack, {text->bytes.get(), text->length}, name, text->error, text->bytes.get());
    return text.has_value();
}

void StackReader::readText(Stack& stack, const std::string& text, const std::string& fileName) {
    clearLog();
    readText(stack, text, fileName, 0, nullptr);
}

/// The error is the number of the one that broke the reading of the file off. What has been read of a long text is
/// taken off memory, where the text is given a second time to be changed.
void StackReader::readText(Stack& stack, std::string_view text, const std::string& name, int error, char* own) {
    const ClassicLocale locale;
    notifyStarted("Reading " + name + "...");
    notifyProgressed(0, 100);

    StackIOContext context;
    context.setFileName(name);
    context.setStack(&stack);
    context.setImagesPath(directoryOf(name));
    stack.setImagesPath(directoryOf(name));
    setFileFormatVersion(1.0f);
    __placesLeft = (1LL << 20) + static_cast<long long>(text.size());
    __indexedStack = nullptr;
    __latest = &stack;
    __whole = true;
    __lost = false;
    __objectLines.clear();
    __valueLines.clear();
    __remarks.clear();

    const unsigned long long size = std::max<std::size_t>(text.size(), 1);
    unsigned long long total = 0;
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    const char* cursor = text.data() + (text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0);
    const char* const end = text.data() + text.size();
    __counted = cursor;
    __line = 1;
    const bool isCut = text.substr(0, 1024 + wholeFileAnnouncement.size()).find(wholeFileAnnouncement) < 1024 &&
                       text.rfind(wholeFileMark) == text.npos;
    std::size_t given = 0;                                       // back
    const std::string outlineKeyword = getString(MODELITEMDATA); // tokens only look at their text
    std::string statement;
    Tokens tokens;
    while (true) {
        const char* const start = cursor;
        if (scanOutline(cursor, end)) {
            tokens.assign(1, outlineKeyword);
            total += static_cast<unsigned long long>(cursor - start);
        } else {
            readItemString(cursor, end, statement);
            if (statement.empty() && cursor == end) {
                if (hasStatement(start, end)) {
                    __whole = false;
                    log({ProblemCode::FileCut, "The file is cut off within its last statement.", lineOf(end)});
                }
                break;
            }
            if (statement.empty())
                continue;
            splitItemString(tokens, statement);
            total += statement.size() + 1;
            if (__notesLines)
                remark(statement, tokens, context, {start, static_cast<std::size_t>(cursor - start)});
        }
        parseStatement(tokens, context, {start, static_cast<std::size_t>(cursor - start)});
        __outline.clear();
        const auto done = static_cast<std::size_t>(cursor - text.data());
        if (own != nullptr && done - given >= bytesGivenBack) {
            lineOf(cursor); // which counts on from here
            giveBack(own + given, own + done);
            given = done;
        }
        notifyProgressed(static_cast<unsigned int>(total * 100 / size), 100);
    }

    if (error != 0)
        log({ProblemCode::FileReadError,
             std::string("The file could not be read to its end: ") + std::strerror(error) + "."});
    else if (__whole && isCut)
        log({ProblemCode::FileCut, "The file is cut off: it lacks the last line that says that it is whole.",
             lineOf(end)});
    else
        error = -1;
    __whole = __whole && error == -1;
    renameDuplicates(stack);
    stack.getDefaultPixelCalibration().compute();
    for (int i = 0; i < stack.getNumSlices(); ++i)
        stack.getSlice(i).getPixelCalibration().compute();
    notifyProgressed(100, 100);
    notifyFinished("");
}

/// Carries a statement out; logs its failure, and keeps its text. What follows a statement that should have made an
/// object, and has not, is not carried out on another one.
void StackReader::parseStatement(const Tokens& tokens, StackIOContext& context, std::string_view text) {
    const Keyword keyword = tokens.empty() ? UNKNOWN : getKeyword(std::string(tokens.front()));
    const bool opens = opensObject(keyword, tokens);
    const std::string word = tokens.empty() ? std::string() : std::string(tokens.front().substr(0, 80));
    const auto report = [&](ProblemCode code, const std::string& sentence) {
        StackProblem problem(code, sentence);
        log(logsMore() ? placed(std::move(problem), tokens, context, text) : problem);
    };
    try {
        if (!isKnown(keyword, tokens)) { // the same as throwing, and a file may be full of it
            report(ProblemCode::UnknownKeyword, "Error on " + word + ": unknown keyword (ignored).");
            keepUnread(text, *context.getStack());
            return;
        }
        if (__lost && !opens)
            throw ContextError();
        carryOut(keyword, tokens, context);
        if (opens)
            openObject(keyword, context, text);
        else if (__notesLines)
            noteValue(keyword, context, text);
        return;
    } catch (const ArgValueError&) {
        report(ProblemCode::InvalidArgument, "Error on " + word + ": invalid argument.");
    } catch (const ContextError&) {
        report(ProblemCode::WrongContext, "Error: " + word + " is invalid in this context.");
    } catch (const FileError& error) {
        addFatalError();
        struct stat info;
        const bool isThere = ::stat(error.getFile().c_str(), &info) == 0;
        report(isThere ? ProblemCode::ImageUnreadable : ProblemCode::ImageMissing,
               "Error: " + error.getFile() + ": " + error.getWhat() + ".");
        if (opens)
            openObject(keyword, context, text); // the slice is there, with a placeholder for its image
        return;
    } catch (const KeywordError&) {
        report(ProblemCode::UnknownKeyword, "Error on " + word + ": unknown keyword (ignored).");
    } catch (const NumArgsError&) {
        const bool isEmptyOutline = keyword == MODELITEMDATA && tokens.size() < 2;
        report(isEmptyOutline ? ProblemCode::OutlineEmpty : ProblemCode::ArgumentCount,
               "Error on " + word + ": invalid number of arguments.");
    } catch (const Exception& error) {
        report(ProblemCode::StatementFailed, "Error on " + word + ": " + error.getWhat() + ".");
    }
    __lost = __lost || opens;
    const bool isEmptyOutline = keyword == MODELITEMDATA && tokens.size() < 2;
    if (__lost || !isEmptyOutline) // which has nothing to keep, and would stand beside the vertices that the item gets
        keepUnread(text, *context.getStack());
}

/// Whether the word is one of the format, or of a kind of image source.
bool StackReader::isKnown(Keyword keyword, const Tokens& tokens) const {
    return keyword != UNKNOWN ||
           std::any_of(__imageSourceKinds.begin(), __imageSourceKinds.end(),
                       [&](const ImageSourceKind& kind) { return !tokens.empty() && kind.keyword == tokens.front(); });
}

bool StackReader::opensObject(Keyword keyword, const Tokens& tokens) const {
    switch (keyword) {
    case SLICE:
    case StackIO::StackSlice:
    case MODEL:
    case MODELITEM:
    case POSE:
    case STANDARDIMAGE:
    case CALIBRATIONCURVE:
    case SAMPLE:
        return true;
    case UNKNOWN: // image sources bring words of their own
        return std::any_of(__imageSourceKinds.begin(), __imageSourceKinds.end(), [&](const ImageSourceKind& kind) {
            return kind.make != nullptr && !tokens.empty() && kind.keyword == tokens.front();
        });
    default:
        return false;
    }
}

void StackReader::parseTokens(const Tokens& tokens, StackIOContext& context) {
    carryOut(tokens.empty() ? UNKNOWN : getKeyword(std::string(tokens.front())), tokens, context);
}

void StackReader::carryOut(Keyword keyword, const Tokens& tokens, StackIOContext& context) {
    const Handler handle = handler(keyword);
    if (handle == nullptr)
        throw KeywordError();
    (this->*handle)(tokens, context);
}

StackReader::Handler StackReader::handler(Keyword keyword) {
    static const auto handlers = [] {
        std::array<Handler, MODELGROUP + 1> table{};
        table[Annotation] = &StackReader::inputAnnotation;
        table[BeginCap] = &StackReader::inputBeginCap;
        table[BRILLIANCY] = &StackReader::inputBrilliancy;
        table[CALIBRATIONCURVE] = &StackReader::inputCalibrationCurve;
        table[COLOR] = &StackReader::inputColor;
        table[ECORENDERING] = &StackReader::inputEcoRendering;
        table[EndCap] = &StackReader::inputEndCap;
        table[FileFormatVersion] = &StackReader::inputFileFormatVersion;
        table[FILLEDIN] = &StackReader::inputFilledIn;
        table[FIT] = &StackReader::inputFit;
        table[HIDDEN3D] = &StackReader::inputHidden3D;
        table[ImagesPath] = &StackReader::inputImagesPath;
        table[AbsoluteImagesPathPolicy] = &StackReader::inputAbsoluteImagesPathPolicy;
        table[LASTSEGMENTEDSLICE] = &StackReader::inputLastSegmentedSlice;
        table[LASTREGISTEREDSLICE] = &StackReader::inputLastRegisteredSlice;
        table[LengthUnitScale] = &StackReader::inputLengthUnitScale;
        table[MODEL] = &StackReader::inputModel;
        table[GREYSCALE] = &StackReader::inputGreyScale;
        table[MODELGROUP] = &StackReader::inputModelGroup;
        table[MODELITEM] = &StackReader::inputModelItem;
        table[MODELITEMDATA] = &StackReader::inputModelItemData;
        table[PIXASPECT] = &StackReader::inputPixAspect;
        table[PIXHEIGHT] = &StackReader::inputPixHeight;
        table[PIXWIDTH] = &StackReader::inputPixWidth;
        table[POINTSIZE] = &StackReader::inputPointSize;
        table[POSE] = &StackReader::inputPose;
        table[POSEROTATION] = &StackReader::inputPoseRotation;
        table[POSESHIFT] = &StackReader::inputPoseShift;
        table[POSEZOOM] = &StackReader::inputPoseZoom;
        table[AMBIENTLIGHT] = &StackReader::inputAmbientLight;
        table[DIFFUSELIGHT] = &StackReader::inputDiffuseLight;
        table[SPECULARLIGHT] = &StackReader::inputSpecularLight;
        table[POSITION] = &StackReader::inputPosition;
        table[PRIMITIVE] = &StackReader::inputPrimitive;
        table[RELPOSITION] = &StackReader::inputRelPosition;
        table[RENDERINGMODE] = &StackReader::inputRenderingMode;
        table[RESAMPLING] = &StackReader::inputResampling;
        table[ROTATE] = &StackReader::inputRotate;
        table[SAMPLE] = &StackReader::inputSample;
        table[SAMPLECOORDS] = &StackReader::inputSampleCoords;
        table[SAMPLEVALUE] = &StackReader::inputSampleValue;
        table[SHIFT] = &StackReader::inputShift;
        table[SliceSize1] = &StackReader::inputSliceSize;
        table[SliceSize2] = &StackReader::inputSliceSize;
        table[STACK] = &StackReader::inputStack;
        table[STANDARDIMAGE] = &StackReader::inputStandardImage;
        table[THICKNESS] = &StackReader::inputThickness;
        table[TRANSPARENCY] = &StackReader::inputTransparency;
        table[VERTEXSYMBOL] = &StackReader::inputVertexSymbol;
        for (const Keyword image : {SLICE, StackIO::StackSlice, IMAGE, UNKNOWN})
            table[image] = &StackReader::inputImageStatement;
        return table;
    }();
    return handlers[keyword];
}

/// The stack's own search walks over all names; a file of many items would make that quadratic.
vorlen::StackSlice* StackReader::findSlice(Stack& stack, const std::string& name) {
    if (__indexedStack != &stack) {
        __indexedStack = &stack;
        __sliceNames.clear();
        __modelNames.clear();
        __numIndexedSlices = __numIndexedModels = 0;
    }
    for (; __numIndexedSlices < stack.getNumSlices(); ++__numIndexedSlices) {
        vorlen::StackSlice& slice = stack.getSlice(__numIndexedSlices);
        __sliceNames.emplace(slice.getName(), &slice);
    }
    const auto found = __sliceNames.find(name);
    return found == __sliceNames.end() ? nullptr : found->second;
}

Model* StackReader::findModel(Stack& stack, const std::string& name) {
    if (__indexedStack != &stack)
        findSlice(stack, name);
    for (; __numIndexedModels < stack.getNumModels(); ++__numIndexedModels) {
        Model& model = stack.getModel(__numIndexedModels);
        __modelNames.insert_or_assign(model.getName(), &model); // a model's items follow it
    }
    const auto found = __modelNames.find(name);
    return found == __modelNames.end() ? nullptr : found->second;
}

} // namespace vorlen
