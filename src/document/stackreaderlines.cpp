#include "document/stackreader.h"

#include <charconv>
#include <cstddef>
#include <cstring>
#include <system_error>

#include "document/statementarguments.h"

namespace vorlen {

using namespace statements;

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

} // namespace vorlen
