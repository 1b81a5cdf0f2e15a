#include "document/stackreader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <locale>
#include <optional>
#include <set>
#include <unordered_set>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "document/calibrationcurve.h"
#include "document/model.h"
#include "document/modelitem.h"
#include "document/pose.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "document/standardimage.h"
#include "document/standardsample.h"
#include "document/uniquenames.h"
#include "files/fileinfo.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagesourcekinds.h"
#include "images/files/imagesourceplaceholder.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr std::size_t maxPathLength = PATH_MAX;

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

bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The whole file; nothing when it cannot be opened or is no regular file. Opening does not wait for a pipe's writer.
/// A reading that breaks off gives what it got, and the error's number.
std::optional<std::string> readFile(const std::string& name, int& error) {
    error = 0;
    const int file = ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return std::nullopt;
    struct stat info;
    if (::fstat(file, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(file);
        return std::nullopt;
    }
    std::string text(static_cast<std::size_t>(info.st_size), '\0');
    std::size_t length = 0;
    while (length < text.size()) {
        const ssize_t got = ::read(file, text.data() + length, text.size() - length);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            error = errno;
        if (got <= 0)
            break;
        length += static_cast<std::size_t>(got);
    }
    ::close(file);
    text.resize(length);
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

/// The leading decimal number, 0 without one; beyond the range of int its nearest end.
int toInt(std::string_view text) {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at < end && isSpace(*at))
        ++at;
    const bool negative = at < end && *at == '-';
    if (at < end && (*at == '-' || *at == '+'))
        ++at;
    long long value = 0;
    for (; at < end && *at >= '0' && *at <= '9'; ++at)
        if (value <= INT_MAX)
            value = 10 * value + (*at - '0');
    value = negative ? -value : value;
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

/// A coordinate of a vertex: the leading decimal number within the range of int, 0 without one.
double toCoordinate(std::string_view text) {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at < end && isSpace(*at))
        ++at;
    const bool negative = at < end && *at == '-';
    if (at < end && (*at == '-' || *at == '+'))
        ++at;
    double value = 0;
    if (at < end && ((*at >= '0' && *at <= '9') || *at == '.')) { // no names of numbers, and no second sign
        const std::from_chars_result found = std::from_chars(at, end, value);
        if (found.ec == std::errc::result_out_of_range) { // next to 0 or beyond all limits
            const std::string_view number(at, static_cast<std::size_t>(found.ptr - at));
            const bool tiny = number.find_first_of("123456789") > number.find('.') ||
                              number.find("e-") < number.size() || number.find("E-") < number.size();
            value = tiny ? 0 : HUGE_VAL;
        }
    }
    return std::clamp<double>(negative ? -value : value, INT_MIN, INT_MAX);
}

float toReal(std::string_view text) {
    return static_cast<float>(std::strtod(std::string(text.substr(0, 256)).c_str(), nullptr));
}

/// Widths and the like: 0 for what is no number.
float toFinite(std::string_view text) {
    const float value = toReal(text);
    return std::isfinite(value) ? value : 0;
}

/// Pixels and decimals of them; 0 for what is no number, and no more than an int holds.
double toShift(std::string_view text) {
    const double value = std::strtod(std::string(text.substr(0, 256)).c_str(), nullptr);
    return std::isnan(value) ? 0 : std::clamp<double>(value, -INT_MAX, INT_MAX);
}

bool toBool(std::string_view text) {
    return text.size() == 1 ? text == "1" : text == "true";
}

std::string toName(std::string_view text) {
    return StackIO::unprotect(text);
}

void requireArguments(const StackReader::Tokens& tokens, std::size_t number) {
    if (tokens.size() != number + 1)
        throw StackReader::NumArgsError();
}

/// The current object of a statement that needs one.
template <class T>
T& required(T* object) {
    if (object == nullptr)
        throw StackReader::ContextError();
    return *object;
}

int toSize(std::string_view text) {
    const int size = toInt(text);
    if (size < 0)
        throw StackReader::ArgValueError();
    return size;
}

/// The current slice's calibration, or the stack's default.
PixelCalibration& currentCalibration(const StackIOContext& context) {
    if (context.getSlice() != nullptr)
        return context.getSlice()->getPixelCalibration();
    return required(context.getStack()).getDefaultPixelCalibration();
}

std::string directoryOf(const std::string& fileName) {
    const std::string directory = FileInfo::dirName(fileName);
    return directory.empty() ? "./" : directory;
}

std::string join(const std::string& directory, std::string_view file) {
    std::string path = directory;
    if (path.empty() || path.back() != '/')
        path += '/';
    path += file;
    if (path.size() > maxPathLength)
        throw StackReader::ArgValueError();
    return path;
}

bool isAbsolute(std::string_view path) {
    return !path.empty() && path.front() == '/';
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

namespace {

/// Where the statement begins in a text that may have empty lines and comments in front of it.
std::size_t statementStart(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && (isSpace(text[at]) || text[at] == '#'))
        at = text[at] == '#' ? std::min(text.find('\n', at), text.size()) : at + 1;
    return at;
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
    int error = 0;
    std::optional<std::string> text = readFile(name, error);
    if (text)
        readText(stack, *text, name, error, text->data());
    return text.has_value();
}

void StackReader::readText(Stack& stack, const std::string& text, const std::string& fileName) {
    clearLog();
    readText(stack, text, fileName, 0, nullptr);
}

/// The error is the number of the one that broke the reading of the file off. What has been read of a long text is
/// taken off memory, where the text is given a second time to be changed.
void StackReader::readText(Stack& stack, const std::string& text, const std::string& name, int error, char* own) {
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

    const unsigned long long size = std::max<std::size_t>(text.size(), 1);
    unsigned long long total = 0;
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    const char* cursor = text.data() + (text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0);
    const char* const end = text.data() + text.size();
    __counted = cursor;
    __line = 1;
    const bool isCut = text.substr(0, 1024 + wholeFileAnnouncement.size()).find(wholeFileAnnouncement) < 1024 &&
                       text.rfind(wholeFileMark) == std::string::npos;
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

/// Notes the object that a statement has just made.
void StackReader::openObject(Keyword keyword, const StackIOContext& context, std::string_view text) {
    __lost = false;
    switch (keyword) {
    case MODEL:
        __latest = context.getModel();
        break;
    case MODELITEM:
        __latest = context.getItem();
        break;
    case POSE:
        __latest = context.getPose();
        break;
    case STANDARDIMAGE:
        __latest = context.getStandardImage();
        break;
    case CALIBRATIONCURVE:
        if (context.getStandardImage() != nullptr)
            __latest = context.getCalibrationCurve();
        break;
    case SAMPLE:
        __latest = context.getSample();
        break;
    default:
        __latest = context.getSlice();
    }
    if (__notesLines)
        __objectLines[__latest] = lineOf(text.data() + statementStart(text));
}

void StackReader::noteValue(Keyword keyword, const StackIOContext& context, std::string_view text) {
    static const std::set<Keyword> noted = {PIXWIDTH, PIXHEIGHT, PIXASPECT, POSITION, RELPOSITION, ROTATE};
    if (noted.count(keyword) == 0)
        return;
    const UnreadText* object = context.getSlice();
    if (object == nullptr)
        object = context.getStack();
    __valueLines[{object, keyword}] = lineOf(text.data() + statementStart(text));
}

int StackReader::lineOf(const UnreadText& object, Keyword keyword) const {
    const auto found = __valueLines.find({&object, keyword});
    return found == __valueLines.end() ? 0 : found->second;
}

int StackReader::lineOf(const UnreadText& object) const {
    const auto found = __objectLines.find(&object);
    return found == __objectLines.end() ? 0 : found->second;
}

void StackReader::keepUnread(std::string_view text, Stack& stack) {
    std::string kept(text.substr(statementStart(text)));
    if (kept.empty() || kept.back() != '\n')
        kept += '\n';
    (__lost ? stack.unreadObjects() : *__latest).appendUnreadText(kept);
}

/// The problem with where the statement stands and what it concerns.
StackProblem StackReader::placed(StackProblem problem, const Tokens& tokens, const StackIOContext& context,
                                 std::string_view text) {
    if (!tokens.empty() && getKeyword(std::string(tokens.front())) == MODELITEM) {
        problem.model = tokens.size() > 1 ? toName(tokens[1]) : "";
        problem.slice = tokens.size() > 2 ? toName(tokens[2]) : "";
    } else if (!__lost && context.getItem() != nullptr) {
        problem.model = context.getItem()->getModel()->getName();
        problem.slice = context.getItem()->getSlice()->getName();
    } else if (!__lost && context.getModel() != nullptr) {
        problem.model = context.getModel()->getName();
    } else if (!__lost && context.getSlice() != nullptr) {
        problem.slice = context.getSlice()->getName();
    }
    problem.line = lineOf(text.data() + statementStart(text));
    return problem;
}

/// The line of a place that is not before the one asked for last.
int StackReader::lineOf(const char* position) {
    __line += static_cast<int>(std::count(__counted, position, '\n'));
    __counted = position;
    return __line;
}

/// Gives slices and models of one name names of their own, since the outlines of a file find theirs by name.
void StackReader::renameDuplicates(Stack& stack) {
    // Later ones keep out of the way of names that stand further down.
    UniqueNames sliceNames, modelNames;
    std::unordered_set<std::string> seen;
    for (int i = 0; i < stack.getNumSlices(); ++i)
        if (seen.insert(stack.getSlice(i).getName()).second)
            sliceNames.take(stack.getSlice(i).getName());
    seen.clear();
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        vorlen::StackSlice& slice = stack.getSlice(i);
        const std::string old = slice.getName();
        if (seen.insert(old).second)
            continue;
        slice.setName(sliceNames.take(old));
        log({ProblemCode::SliceNameDuplicate,
             "Two slices are named \"" + old + "\": slice " + std::to_string(i + 1) + " is now \"" + slice.getName() +
                 "\". The file does not tell the outlines of the two apart: all stand on the first.",
             lineOf(slice), "", slice.getName()});
    }
    seen.clear();
    for (int i = 0; i < stack.getNumModels(); ++i)
        if (seen.insert(stack.getModel(i).getName()).second)
            modelNames.take(stack.getModel(i).getName());
    seen.clear();
    for (int i = 0; i < stack.getNumModels(); ++i) {
        Model& model = stack.getModel(i);
        const std::string old = model.getName();
        if (seen.insert(old).second)
            continue;
        model.setName(modelNames.take(old));
        log({ProblemCode::ModelNameDuplicate,
             "Two models are named \"" + old + "\": model " + std::to_string(i + 1) + " is now \"" + model.getName() +
                 "\".",
             lineOf(model), model.getName()});
    }
}

namespace {

/// Whether two vertices of an outline would become one where the line is put behind what is read: 63,17 and 60,10, at
/// the end of a line and at the start of the next, would read as 63,1760,10.
bool isRunTogether(std::string_view statement, std::string_view line) {
    if (statement.empty() || isSpace(statement.back()) || line.empty() || isSpace(line.front()))
        return false;
    const std::string_view next = line.substr(0, line.find_first_of(" \t\v\f\r;"));
    const std::string_view last = statement.substr(statement.rfind(' ') + 1); // all of it where there is no blank
    if (next.find(',') == next.npos || (last.find(',') == last.npos && last.size() < statement.size()))
        return false;
    const std::string_view keyword = statement.substr(0, statement.find(' '));
    return StackIO::getKeyword(std::string(keyword)) == StackIO::MODELITEMDATA;
}

} // namespace

void StackReader::readItemString(const char*& cursor, const char* end, std::string& statement) {
    statement.clear();
    bool complete = false;
    while (!complete) {
        if (cursor == end) {
            statement.clear();
            return;
        }
        const char* const line = cursor;
        const auto left = [&](const char* from, const char* to) { return static_cast<std::size_t>(to - from); };
        const char* stop = static_cast<const char*>(std::memchr(line, '\n', left(line, end)));
        cursor = stop != nullptr ? stop + 1 : end;
        stop = stop != nullptr ? stop : end;
        if (line == stop)
            continue;
        if (const void* hash = std::memchr(line, '#', left(line, stop))) {
            if (hash == line)
                continue;
            stop = static_cast<const char*>(hash) - 1;
        }
        complete = std::memchr(line, ';', left(line, stop)) != nullptr;
        if (isRunTogether(statement, {line, left(line, stop)}))
            statement += ' ';
        // Whitespace is squeezed across line ends too, so the last character written tells whether it goes on.
        std::size_t length = statement.size();
        statement.resize(length + left(line, stop));
        char* to = statement.data();
        for (const char* from = line; from < stop; ++from)
            if (!isSpace(*from))
                to[length++] = *from;
            else if (length > 0 && to[length - 1] != ' ')
                to[length++] = ' ';
        statement.resize(length);
    }
    if (!statement.empty() && statement.back() == ' ')
        statement.pop_back();
    if (!statement.empty())
        statement.pop_back();
}

/// Takes an outline of the usual form, as the writer writes it, in one pass from the text at cursor: most of a file is
/// outlines. Anything unusual, such as a comment, a sign "+" or a number that goes on in the next line, is left to
/// readItemString(), and the cursor stays.
bool StackReader::scanOutline(const char*& cursor, const char* end) {
    static const std::string keyword = getString(MODELITEMDATA);
    const char* at = cursor;
    if (static_cast<std::size_t>(end - at) < keyword.size() || std::memcmp(at, keyword.data(), keyword.size()) != 0)
        return false;
    at += keyword.size();
    const auto number = [&at, end](double& value) {
        const char* const start = at;
        const bool negative = at < end && *at == '-';
        at += negative;
        const char* const first = at;
        int magnitude = 0;
        for (; at < end && *at >= '0' && *at <= '9' && at - first < 9; ++at)
            magnitude = 10 * magnitude + (*at - '0');
        value = negative ? -magnitude : magnitude;
        if (at > first && at < end && *at == '.') {
            const std::from_chars_result found = std::from_chars(start, end, value, std::chars_format::fixed);
            at = found.ptr;
            return found.ec == std::errc();
        }
        return at > first;
    };
    __outline.clear();
    bool parted = false;
    while (at < end) {
        if (*at == ' ' || *at == '\n') { // a line end parts vertices; numbers that it breaks are left to the other way
            parted = true;
            ++at;
        } else if (*at == ';') {
            ++at;
            if (__outline.empty() || (at < end && *at != '\n'))
                break;
            cursor = at < end ? at + 1 : at;
            return true;
        } else {
            double x = 0, y = 0;
            if (!parted || !number(x) || at == end || *at != ',')
                break;
            ++at;
            if (!number(y))
                break;
            __outline.push_back(x);
            __outline.push_back(y);
            parted = false;
        }
    }
    __outline.clear();
    return false;
}

void StackReader::splitItemString(Tokens& tokens, std::string_view statement) {
    tokens.clear();
    const char* at = statement.data();
    const char* const end = at + statement.size();
    const auto tokenEnd = [end](const char* from) {
        while (from < end && *from != ' ')
            ++from;
        return from;
    };
    while (at < end) {
        if (*at == ' ') {
            ++at;
            continue;
        }
        const char* stop = tokenEnd(at);
        // The statement is squeezed: joining tokens by a blank gives the part of it that they span.
        if (*at == '"')
            while (stop[-1] != '"' && stop < end)
                stop = tokenEnd(stop + 1);
        if (*at != '"' || stop[-1] != '"')
            tokens.emplace_back(at, static_cast<std::size_t>(stop - at));
        else
            tokens.emplace_back(at + 1, static_cast<std::size_t>(std::max<std::ptrdiff_t>(stop - at - 2, 0)));
        at = stop;
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

void StackReader::inputAnnotation(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    const std::string text = importString(unprotect(tokens[1]));
    if (context.getSlice() != nullptr)
        context.getSlice()->setAnnotation(text);
    else
        required(context.getStack()).setAnnotation(text);
}

void StackReader::inputBeginCap(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelProperties()).setBeginCapFlag(toBool(tokens[1]));
}

void StackReader::inputBrilliancy(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelProperties()).setSurfaceShininess(toFinite(tokens[1]));
}

void StackReader::inputCalibrationCurve(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    // On a slice the statement names the curve that applies to it; slices keep no such link.
    if (context.getStandardImage() == nullptr) {
        required(context.getSlice());
        return;
    }
    StandardImage& image = *context.getStandardImage();
    auto curve = std::make_unique<CalibrationCurve>(image);
    curve->setName(toName(tokens[1]));
    image.setCalibrationCurve(curve.get());
    context.setCalibrationCurve(curve.release());
}

void StackReader::inputColor(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 3);
    ModelItemProperties& properties = required(context.getModelItemProperties());
    properties.setColor(toInt(tokens[1]) & 255, toInt(tokens[2]) & 255, toInt(tokens[3]) & 255);
}

void StackReader::inputEcoRendering(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelProperties()).setEconomicRendering(toBool(tokens[1]));
}

void StackReader::inputEndCap(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelProperties()).setEndCapFlag(toBool(tokens[1]));
}

void StackReader::inputFileFormatVersion(const Tokens& tokens, StackIOContext&) {
    requireArguments(tokens, 1);
    setFileFormatVersion(toReal(tokens[1]));
}

void StackReader::inputFilledIn(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelItemProperties()).setVertexSymbolFilling(toBool(tokens[1]));
}

void StackReader::inputFit(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    CalibrationCurve& curve = required(context.getCalibrationCurve());
    if (tokens[1] == "Linear")
        curve.setFitMode(CalibrationCurve::LinearFit);
    else if (tokens[1] == "Polynomial2")
        curve.setFitMode(CalibrationCurve::Polynomial2Fit);
    else if (tokens[1] == "Polynomial3")
        curve.setFitMode(CalibrationCurve::Polynomial3Fit);
    else
        throw ValueError("void StackReader::inputFit(...)", "Unknown fit mode");
}

void StackReader::inputGreyScale(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 3);
    const GreyScale scale{toReal(tokens[1]), toReal(tokens[2]), toReal(tokens[3])};
    if (!std::isfinite(scale.low) || !std::isfinite(scale.high) || !(scale.high > scale.low) ||
        !std::isfinite(scale.white) || !(scale.white > 0))
        throw ArgValueError();
    required(context.getStack()).setGreyScale(scale);
}

void StackReader::inputHidden3D(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelItemProperties()).setRenderingVisibility(!toBool(tokens[1]));
}

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

void StackReader::inputImagesPath(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    Stack& stack = required(context.getStack());
    const std::string path = toName(tokens[1]);
    const bool newer = ensureFileFormatVersion(1.01f);
    const std::string base = newer ? directoryOf(context.getFileName()) : stack.getImagesPath();
    const std::string whole = isAbsolute(path) ? path : base + path;
    if (whole.size() > maxPathLength)
        throw ArgValueError();
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

void StackReader::inputLastSegmentedSlice(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getStack()).setLastSegmentedSlice(toName(tokens[1]));
}

void StackReader::inputLastRegisteredSlice(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getStack()).setLastRegisteredSlice(toName(tokens[1]));
}

void StackReader::inputLengthUnitScale(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getStack()).setLengthUnit(LengthUnit(toInt(tokens[1])));
}

void StackReader::inputModel(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    Stack& stack = required(context.getStack());
    auto model = std::make_unique<Model>();
    model->setName(toName(tokens[1]));
    stack.addModel(model.get());
    context.setModel(model.release());
}

void StackReader::inputModelGroup(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelProperties()).setGroup(toName(tokens[1]));
}

void StackReader::inputModelItem(const Tokens& tokens, StackIOContext& context) {
    context.setItem(nullptr);
    requireArguments(tokens, 2);
    Stack& stack = required(context.getStack());
    Model* const model = findModel(stack, toName(tokens[1]));
    vorlen::StackSlice* const slice = findSlice(stack, toName(tokens[2]));
    if (model == nullptr || slice == nullptr)
        throw ArgValueError();
    auto item = std::make_unique<ModelItem>();
    item->setModel(model);
    item->setSlice(slice);
    item->attach();
    context.setItem(item.release());
}

void StackReader::inputModelItemData(const Tokens& tokens, StackIOContext& context) {
    if (!__outline.empty()) {
        ModelItem& item = required(context.getItem());
        item.setVertices(__outline.data(), static_cast<int>(__outline.size() / 2));
        item.setClockwise(false);
        return;
    }
    if (tokens.size() < 2)
        throw NumArgsError();
    ModelItem& item = required(context.getItem());
    for (std::size_t i = 1; i < tokens.size(); ++i)
        if (tokens[i].find(',') == std::string_view::npos)
            throw ArgValueError();
    const int size = static_cast<int>(tokens.size()) - 1;
    Vertices<double> vertices(2, size, size, size);
    for (int i = 0; i < size; ++i) {
        const std::string_view token = tokens[static_cast<std::size_t>(i) + 1];
        const std::size_t comma = token.find(',');
        double* const vertex = vertices[i].data();
        vertex[0] = toCoordinate(token.substr(0, comma));
        vertex[1] = toCoordinate(token.substr(comma + 1));
    }
    item.setVertices(vertices);
    item.setClockwise(false);
}

void StackReader::inputPixAspect(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    currentCalibration(context).setAspectRatio(toReal(tokens[1]));
}

void StackReader::inputPixHeight(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    currentCalibration(context).setPixelHeight(toReal(tokens[1]));
}

void StackReader::inputPixWidth(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    currentCalibration(context).setPixelWidth(toReal(tokens[1]));
}

void StackReader::inputPointSize(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelItemProperties()).setPointSize(toFinite(tokens[1]));
}

void StackReader::inputPose(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    Stack& stack = required(context.getStack());
    auto pose = std::make_unique<Pose>();
    pose->setName(toName(tokens[1]));
    pose->setStack(&stack);
    pose->attach();
    context.setPose(pose.release());
}

void StackReader::inputPoseRotation(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 3);
    Pose& pose = required(context.getPose());
    Vector<float> rotation(3);
    for (int k = 0; k < 3; ++k)
        rotation[k] = toFinite(tokens[std::size_t(k) + 1]);
    pose.setRotation(rotation);
}

void StackReader::inputPoseShift(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 2);
    Pose& pose = required(context.getPose());
    pose.setXTranslation(toInt(tokens[1]));
    pose.setYTranslation(toInt(tokens[2]));
}

void StackReader::inputPoseZoom(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getPose()).setZoom(toInt(tokens[1]));
}

void StackReader::inputAmbientLight(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getPose()).setAmbientLight(toInt(tokens[1]));
}

void StackReader::inputDiffuseLight(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getPose()).setDiffuseLight(toInt(tokens[1]));
}

void StackReader::inputSpecularLight(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getPose()).setSpecularLight(toInt(tokens[1]));
}

void StackReader::inputPosition(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getSlice()).setAbsolutePosition(toReal(tokens[1]));
}

void StackReader::inputPrimitive(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    ModelProperties& properties = required(context.getModelProperties());
    const MPrimitive geometry = ModelProperties::toPrimitive(std::string(tokens[1]));
    if (geometry == UnknownPrimitive)
        throw ArgValueError();
    properties.setGeometry(geometry);
}

void StackReader::inputRelPosition(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    const float position = toReal(tokens[1]);
    context.setRelativePosition(position);
    if (context.getSlice() != nullptr)
        context.getSlice()->setRelativePosition(position);
    else
        required(context.getStack()).setDefaultRelativePosition(position);
}

void StackReader::inputRenderingMode(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    ModelProperties& properties = required(context.getModelProperties());
    const RenderingMode mode = ModelProperties::toRenderingMode(std::string(tokens[1]));
    if (mode == UnknownRendering)
        throw ArgValueError();
    properties.setRenderingMode(mode);
}

void StackReader::inputResampling(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 2);
    ModelProperties& properties = required(context.getModelProperties());
    const int width = toSize(tokens[1]), height = toSize(tokens[2]);
    properties.setQuadMeshWidth(static_cast<unsigned int>(width));
    properties.setQuadMeshHeight(static_cast<unsigned int>(height));
}

void StackReader::inputRotate(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    Registration& registration = required(context.getSlice()).getRegistration();
    const float angle = toReal(tokens[1]);
    if (!std::isfinite(angle))
        throw ArgValueError();
    registration.setRotationAngle(angle);
}

void StackReader::inputSample(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    CalibrationCurve& curve = required(context.getCalibrationCurve());
    auto sample = std::make_unique<StandardSample>();
    sample->setName(toName(tokens[1]));
    curve.addSample(sample.get());
    context.setSample(sample.release());
}

void StackReader::inputSampleCoords(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 4);
    Vector<int> first(2), second(2);
    first[0] = toInt(tokens[1]);
    first[1] = toInt(tokens[2]);
    second[0] = toInt(tokens[3]);
    second[1] = toInt(tokens[4]);
    required(context.getSample()).setRegion(BoundingBox<int>(first, second));
}

void StackReader::inputSampleValue(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    const double value = std::strtod(std::string(tokens[1].substr(0, 256)).c_str(), nullptr);
    required(context.getSample()).setValue(value);
}

void StackReader::inputShift(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 2);
    Registration& registration = required(context.getSlice()).getRegistration();
    registration.setHorShift(toShift(tokens[1]));
    registration.setVerShift(toShift(tokens[2]));
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

void StackReader::inputStack(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getStack()).setName(toName(tokens[1]));
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

void StackReader::inputThickness(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelItemProperties()).setLineWidth(toFinite(tokens[1]));
}

void StackReader::inputTransparency(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelProperties()).setSurfaceOpacity(toFinite(tokens[1]));
}

void StackReader::inputVertexSymbol(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    ModelItemProperties& properties = required(context.getModelItemProperties());
    const VertexSymbol symbol = ModelItemProperties::toVertexSymbol(std::string(tokens[1]));
    if (symbol == UnknownSymbol)
        throw ArgValueError();
    properties.setVertexSymbol(symbol);
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
