#include "document/stackio.h"

#include <unordered_map>

namespace vorlen {

namespace {

/// Longer words of a broken file are not repeated in full in its log.
constexpr std::size_t maxMessageLength = 4096;

bool isBlank(char c) {
    return c == ' ';
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

const StackIO::KeywordMap& StackIO::__keywordMap() {
    static const KeywordMap map = {
        {Annotation, {"Annotation"}},
        {BeginCap, {"BeginCap"}},
        {BRILLIANCY, {"BRILLIANCY"}},
        {CALIBRATIONCURVE, {"CALIBRATIONCURVE"}},
        {COLOR, {"COLOR", "M2DCOLOR"}},
        {ECORENDERING, {"ECORENDERING"}},
        {EndCap, {"EndCap"}},
        {FileFormatVersion, {"FileFormatVersion"}},
        {FILLEDIN, {"FILLEDIN", "M2DFILLEDIN"}},
        {FIT, {"FIT"}},
        {GREYSCALE, {"GREYSCALE"}},
        {HIDDEN3D, {"HIDDEN3D", "M2DHIDDEN3D"}},
        {IMAGE, {"IMAGE"}},
        {ImagesPath, {"ImagesPath", "IMAGESPATH", "IMAGESDIR"}},
        {AbsoluteImagesPathPolicy, {"AbsoluteImagesPathPolicy"}},
        {LASTSEGMENTEDSLICE, {"LASTSEGMENTEDSLICE"}},
        {LASTREGISTEREDSLICE, {"LASTREGISTEREDSLICE"}},
        {LengthUnitScale, {"LengthUnitScale"}},
        {MODEL, {"MODEL", "M2DCLASS"}},
        {MODELGROUP, {"MODELGROUP"}},
        {MODELITEM, {"MODELITEM", "M2DITEM"}},
        {MODELITEMDATA, {"MODELITEMDATA", "M2DDATA"}},
        {PIXASPECT, {"PIXASPECT", "ASPRATIO", "ASPECT"}},
        {PIXHEIGHT, {"PIXHEIGHT"}},
        {PIXWIDTH, {"PIXWIDTH"}},
        {POINTSIZE, {"POINTSIZE", "M2DRADIUS"}},
        {POSE, {"POSE"}},
        {POSEROTATION, {"POSEROTATION"}},
        {POSESHIFT, {"POSESHIFT"}},
        {POSEZOOM, {"POSEZOOM"}},
        {AMBIENTLIGHT, {"AMBIENTLIGHT"}},
        {DIFFUSELIGHT, {"DIFFUSELIGHT"}},
        {SPECULARLIGHT, {"SPECULARLIGHT"}},
        {POSITION, {"POSITION", "DEPTH"}},
        {PRIMITIVE, {"PRIMITIVE", "M2DPRIMITIVE"}},
        {RELPOSITION, {"RELPOSITION", "RELDEPTH"}},
        {RENDERINGMODE, {"RENDERINGMODE"}},
        {RESAMPLING, {"RESAMPLING"}},
        {ROTATE, {"ROTATE"}},
        {SAMPLE, {"SAMPLE"}},
        {SAMPLECOORDS, {"SAMPLECOORDS"}},
        {SAMPLEVALUE, {"SAMPLEVALUE"}},
        {SHIFT, {"SHIFT"}},
        {SLICE, {"SLICE"}},
        {SliceSize1, {"SliceSize1"}},
        {SliceSize2, {"SliceSize2"}},
        {STACK, {"STACK"}},
        {StackSlice, {"StackSlice"}},
        {STANDARDIMAGE, {"STANDARDIMAGE"}},
        {THICKNESS, {"THICKNESS", "M2DTHICKNESS"}},
        {TRANSPARENCY, {"TRANSPARENCY"}},
        {VERTEXSYMBOL, {"VERTEXSYMBOL"}},
    };
    return map;
}

void StackIO::setFileFormatVersion(float version) {
    __fileFormatVersion = version;
}

float StackIO::getFileFormatVersion() const {
    return __fileFormatVersion;
}

bool StackIO::ensureFileFormatVersion(float version) const {
    return __fileFormatVersion + 0.00001f >= version;
}

const std::vector<std::string>& StackIO::getLog() const {
    return __log;
}

int StackIO::getNumFatalErrors() const {
    return __numFatalErrors;
}

StackIO::Keyword StackIO::getKeyword(const std::string& word) {
    static const auto keywords = [] {
        std::unordered_map<std::string, Keyword> words;
        for (const auto& [keyword, spellings] : __keywordMap())
            for (const std::string& spelling : spellings)
                words.emplace(spelling, keyword);
        return words;
    }();
    const auto found = keywords.find(word);
    return found == keywords.end() ? UNKNOWN : found->second;
}

std::string StackIO::getString(Keyword keyword) {
    const auto found = __keywordMap().find(keyword);
    return found == __keywordMap().end() ? std::string() : found->second.front();
}

std::string StackIO::exportString(const std::string& text) {
    std::string result = text;
    replace(result, ";", "__SC__");
    replace(result, "\n", "__NL__");
    replace(result, "\"", "__DQ__");
    return result;
}

std::string StackIO::importString(const std::string& text) {
    std::string result = text;
    replace(result, "__SC__", ";");
    replace(result, "__NL__", "\n");
    replace(result, "__DQ__", "\"");
    return result;
}

void StackIO::replace(std::string& text, const std::string& from, const std::string& to) {
    std::size_t position = text.find(from);
    if (from.empty() || position == std::string::npos)
        return;
    std::string result;
    std::size_t done = 0;
    for (; position != std::string::npos; position = text.find(from, done)) {
        result.append(text, done, position - done);
        result += to;
        done = position + from.size();
    }
    result.append(text, done);
    text.swap(result);
}

std::string StackIO::protect(const std::string& text, bool everyBlank) {
    static const char digits[] = "0123456789ABCDEF";
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const bool looksProtected = text.compare(i, 3, "__X") == 0 && unprotect(text.substr(i, 7)).size() == 1;
        const bool squeezed = isBlank(text[i]) && (i == 0 || (everyBlank && isBlank(text[i - 1])));
        if (c == '#' || c == '"' || c < ' ' || c == 127 || squeezed || looksProtected) {
            result += "__X";
            result += digits[c >> 4];
            result += digits[c & 15];
            result += "__";
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string StackIO::unprotect(std::string_view text) {
    std::string result;
    std::size_t done = 0;
    for (std::size_t at = text.find("__X"); at != std::string_view::npos; at = text.find("__X", at)) {
        int code = -1;
        if (at + 7 <= text.size() && text.substr(at + 5, 2) == "__") {
            const int high = hexDigit(text[at + 3]), low = hexDigit(text[at + 4]);
            code = high < 0 || low < 0 ? -1 : high * 16 + low;
        }
        if (code < 0) {
            at += 1;
            continue;
        }
        result.append(text.substr(done, at - done));
        result += static_cast<char>(code);
        done = at = at + 7;
    }
    result.append(text.substr(done));
    return result;
}

void StackIO::clearLog() {
    __log.clear();
    __messages.clear();
    __problems.clear();
    __numFatalErrors = 0;
}

void StackIO::log(StackProblem problem) {
    if (static_cast<int>(__log.size()) > maxLogLines)
        return;
    if (!logsMore())
        problem = {ProblemCode::MoreProblems, "There are more problems than are listed here."};
    for (std::string* text : {&problem.message, &problem.model, &problem.slice})
        if (text->size() > maxMessageLength)
            *text = text->substr(0, maxMessageLength) + "...";
    __messages.push_back(problem.toText());
    __log.push_back(problem.message);
    __problems.push_back(std::move(problem));
}

void StackIO::addFatalError() {
    ++__numFatalErrors;
}

} // namespace vorlen
