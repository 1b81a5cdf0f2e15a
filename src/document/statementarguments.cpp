#include "document/statementarguments.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <system_error>

#include "files/fileinfo.h"

namespace vorlen {

namespace statements {

std::size_t statementStart(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && (isSpace(text[at]) || text[at] == '#'))
        at = text[at] == '#' ? std::min(text.find('\n', at), text.size()) : at + 1;
    return at;
}

namespace {

/// Goes over blanks and a sign in front of a number; true for minus.
bool passSign(const char*& at, const char* end) {
    while (at < end && isSpace(*at))
        ++at;
    const bool negative = at < end && *at == '-';
    if (at < end && (*at == '-' || *at == '+'))
        ++at;
    return negative;
}

} // namespace

int toInt(std::string_view text) {
    const char* at = text.data();
    const char* const end = at + text.size();
    const bool negative = passSign(at, end);
    long long value = 0;
    for (; at < end && *at >= '0' && *at <= '9'; ++at)
        if (value <= INT_MAX)
            value = 10 * value + (*at - '0');
    value = negative ? -value : value;
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

int toSize(std::string_view text) {
    const int size = toInt(text);
    if (size < 0)
        throw StackReader::ArgValueError();
    return size;
}

double toCoordinate(std::string_view text) {
    const char* at = text.data();
    const char* const end = at + text.size();
    const bool negative = passSign(at, end);
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

double toDouble(std::string_view text) {
    return std::strtod(std::string(text.substr(0, 256)).c_str(), nullptr);
}

float toReal(std::string_view text) {
    return static_cast<float>(toDouble(text));
}

float toFinite(std::string_view text) {
    const float value = toReal(text);
    return std::isfinite(value) ? value : 0;
}

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

std::string directoryOf(const std::string& fileName) {
    const std::string directory = FileInfo::dirName(fileName);
    return directory.empty() ? "./" : directory;
}

bool isAbsolute(std::string_view path) {
    return !path.empty() && path.front() == '/';
}

void requirePathLength(const std::string& path) {
    constexpr std::size_t maxPathLength = PATH_MAX;
    if (path.size() > maxPathLength)
        throw StackReader::ArgValueError();
}

} // namespace statements

} // namespace vorlen
