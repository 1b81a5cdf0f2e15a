#include "images/files/nrrdimagefile.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

#include "images/files/believablesize.h"
#include "images/files/samplecoding.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr std::size_t longestNrrdHeader = std::size_t(1) << 20;

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string trimmed(const std::string& text) {
    const char* const blanks = " \t\r\n";
    const std::size_t from = text.find_first_not_of(blanks);
    return from == std::string::npos ? "" : text.substr(from, text.find_last_not_of(blanks) - from + 1);
}

std::vector<std::string> nrrdWords(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

/// Texts between double quotes; words where there are none.
std::vector<std::string> quotedWords(const std::string& text) {
    std::vector<std::string> words;
    std::size_t at = 0;
    while ((at = text.find('"', at)) != std::string::npos) {
        const std::size_t end = text.find('"', at + 1);
        if (end == std::string::npos)
            break;
        words.push_back(text.substr(at + 1, end - at - 1));
        at = end + 1;
    }
    return words.empty() ? nrrdWords(text) : words;
}

/// Lengths of the vectors "(1,0,0) none (0,0,2)"; 0 for one that there is not.
std::vector<double> vectorLengths(const std::string& text) {
    std::vector<double> lengths;
    std::size_t at = 0;
    while (at < text.size()) {
        if (text.compare(at, 4, "none") == 0) {
            lengths.push_back(0);
            at += 4;
        } else if (text[at] == '(') {
            double square = 0;
            do {
                char* end = nullptr;
                const double value = std::strtod(text.c_str() + at + 1, &end);
                square += value * value;
                at = static_cast<std::size_t>(end - text.c_str());
            } while (at < text.size() && text[at] == ',');
            lengths.push_back(std::sqrt(square));
            at = std::min(text.find(')', at), text.size() - 1) + 1;
        } else {
            ++at;
        }
    }
    return lengths;
}

/// The type of a name in any of the format's spellings; no bits for one that is not known.
ValueType nrrdType(const std::string& name) {
    static const std::map<std::string, ValueType> types = [] {
        std::map<std::string, ValueType> made;
        const auto add = [&made](ValueType type, std::initializer_list<const char*> names) {
            for (const char* each : names)
                made[each] = type;
        };
        add({ValueType::Signed, 8}, {"signed char", "int8", "int8_t"});
        add({ValueType::Unsigned, 8}, {"uchar", "unsigned char", "uint8", "uint8_t"});
        add({ValueType::Signed, 16}, {"short", "short int", "signed short", "signed short int", "int16", "int16_t"});
        add({ValueType::Unsigned, 16}, {"ushort", "unsigned short", "unsigned short int", "uint16", "uint16_t"});
        add({ValueType::Signed, 32}, {"int", "signed int", "int32", "int32_t"});
        add({ValueType::Unsigned, 32}, {"uint", "unsigned int", "uint32", "uint32_t"});
        add({ValueType::Signed, 64},
            {"longlong", "long long", "long long int", "signed long long", "int64", "int64_t"});
        add({ValueType::Unsigned, 64},
            {"ulonglong", "unsigned long long", "unsigned long long int", "uint64", "uint64_t"});
        add({ValueType::Real, 32}, {"float"});
        add({ValueType::Real, 64}, {"double"});
        return made;
    }();
    const auto found = types.find(name);
    return found == types.end() ? ValueType{ValueType::Unsigned, 0} : found->second;
}

/// Power of ten of a meter; nothing for a unit that is no length.
std::optional<int> scaleOfUnit(const std::string& unit) {
    static const std::map<std::string, int> scales = {
        {"m", 0},          {"meter", 0},   {"cm", -2},       {"mm", -3},         {"millimeter", -3},
        {"um", -6},        {"micron", -6}, {"microns", -6},  {"micrometer", -6}, {"\xc2\xb5m", -6},
        {"\xce\xbcm", -6}, {"nm", -9},     {"nanometer", -9}};
    const auto found = scales.find(unit);
    return found == scales.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

NrrdImageFile::NrrdImageFile(const std::string& filename) : RawVolume(filename) {
    std::ifstream file(filename, std::ios::binary);
    std::map<std::string, std::string> fields;
    std::string line;
    std::size_t length = 0;
    bool ended = false;
    while (!ended && std::getline(file, line)) {
        length += line.size() + 1;
        if (length > longestNrrdHeader)
            refuse("a header without an end");
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        ended = line.empty();
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos && line[0] != '#' && line.compare(colon, 2, ":=") != 0)
            fields[lowered(line.substr(0, colon))] = trimmed(line.substr(colon + 1));
    }
    const auto field = [&fields](const char* name, const char* other = "") {
        const auto found = fields.find(name);
        return found != fields.end() ? found->second : fields.contains(other) ? fields[other] : std::string();
    };
    __offset = length;
    std::string data = field("data file", "datafile");
    if (!data.empty()) {
        if (data.find('%') != std::string::npos || data.rfind("LIST", 0) == 0)
            refuse("its samples in several files");
        __dataFile = data[0] == '/' ? data : filename.substr(0, filename.rfind('/') + 1) + data;
        __offset = 0;
    } else if (!ended) {
        throw FileReadError("ImageFile::open(const string&)", "The header of NRRD has no end", filename);
    }
    __rawType = nrrdType(lowered(field("type")));
    if (__rawType.bits == 0)
        refuse("samples of type \"" + field("type").substr(0, 40) + "\"");
    const std::string encoding = lowered(field("encoding"));
    __compressed = encoding == "gzip" || encoding == "gz";
    if (!__compressed && encoding != "raw")
        refuse("the encoding \"" + encoding.substr(0, 40) + "\": write it raw or by gzip");
    __swapped =
        __rawType.bits > 8 && (lowered(field("endian")) == "big") == (std::endian::native == std::endian::little);

    std::vector<long long> sizes;
    for (const std::string& word : nrrdWords(field("sizes")))
        sizes.push_back(std::strtoll(word.c_str(), nullptr, 10));
    const std::vector<std::string> kinds = nrrdWords(lowered(field("kinds")));
    if (sizes.size() < 2 || sizes.size() > 5 ||
        std::any_of(sizes.begin(), sizes.end(), [](long long size) { return size < 1 || size > 1 << 30; }))
        refuse("sizes that make no volume");
    const std::string first = kinds.empty() ? "" : kinds.front();
    static const char* const domains[] = {"", "domain", "space", "time", "???", "none"};
    const bool hasSamples =
        sizes.size() > 2 && std::find(std::begin(domains), std::end(domains), first) == std::end(domains);
    const std::size_t x = hasSamples ? 1 : 0;
    const auto size = [&sizes](std::size_t axis) { return axis < sizes.size() ? sizes[axis] : 1; };
    const long double pages = static_cast<long double>(size(x + 2)) * size(x + 3) * size(x + 4);
    if (pages > 1 << 30)
        refuse("sizes that make no volume");
    __page.width = static_cast<int>(size(x));
    __page.height = static_cast<int>(size(x + 1));
    __page.numSamples = hasSamples ? static_cast<int>(sizes[0]) : 1;
    __numPlanes = static_cast<int>(size(x + 2));
    __numPages = static_cast<int>(pages);
    __page.values = __rawType;
    __page.storage = storageOf(__rawType);
    const bool colours = first == "rgb-color" || first == "rgba-color" || first == "3-color" || first == "4-color";
    if (colours && __page.numSamples >= 3) {
        __page.colour = ImagePage::Rgb;
        __page.alpha = __page.numSamples > 3 ? 3 : -1;
    }

    std::vector<double> spacings = vectorLengths(field("space directions"));
    if (spacings.empty())
        for (const std::string& word : nrrdWords(field("spacings")))
            spacings.push_back(std::strtod(word.c_str(), nullptr));
    const std::vector<std::string> units = quotedWords(field("space units", "units"));
    const auto spacing = [&](std::size_t axis) -> std::optional<double> {
        return axis < spacings.size() && std::isfinite(spacings[axis]) && spacings[axis] > 0
                   ? std::optional(spacings[axis])
                   : std::nullopt;
    };
    // Units of a space are those of its own axes, which are not those of the samples.
    const std::string unit = units.empty() ? "" : units[std::min(field("units").empty() ? 0 : x, units.size() - 1)];
    std::optional<int> scale = scaleOfUnit(unit);
    if (!scale && unit.empty() && !field("space").empty())
        scale = -3;
    if (scale) {
        __unit = LengthUnit(*scale);
        __pixelWidth = spacing(x);
        __pixelHeight = spacing(x + 1);
        __spacing = spacing(x + 2);
    } else if (spacing(x)) {
        __warning = "its spacings have no unit, and are left out";
    }
    // Lines before bytes; -1 byte stands for samples at the very end.
    const long long lines = std::strtoll(field("line skip", "lineskip").c_str(), nullptr, 10);
    const long long bytes = std::strtoll(field("byte skip", "byteskip").c_str(), nullptr, 10);
    if (lines != 0)
        refuse("lines of text before its samples");
    const std::uint64_t total = __page.rowLength() * std::uint64_t(__page.height) * std::uint64_t(__numPages);
    const std::uint64_t available = lengthOfFile(__dataFile);
    if (bytes == -1 && !__compressed && total <= available)
        __offset = available - total;
    else if (bytes > 0)
        __offset += static_cast<std::uint64_t>(bytes);
    if (__compressed && __offset > 0 && data.empty()) {
        // The stream begins behind the header: gzip is read from there on.
        __streamStart = __offset - static_cast<std::uint64_t>(std::max(bytes, 0LL));
        __offset = static_cast<std::uint64_t>(std::max(bytes, 0LL));
    }
    requireComplete();
}

} // namespace vorlen
