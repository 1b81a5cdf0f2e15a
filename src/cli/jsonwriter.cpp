#include "cli/jsonwriter.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include <QString>

namespace vorlen {

namespace {

std::string quoted(const std::string& text) {
    // A round trip through QString replaces what is not UTF-8.
    const std::string valid = QString::fromUtf8(text.data(), qsizetype(text.size())).toStdString();
    std::string result = "\"";
    for (const char c : valid) {
        if (c == '"' || c == '\\') {
            result += '\\';
            result += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", c);
            result += escape;
        } else {
            result += c;
        }
    }
    return result + '"';
}

} // namespace

void JsonWriter::beginObject() {
    open('{', '}');
}

void JsonWriter::endObject() {
    close();
}

void JsonWriter::beginArray() {
    open('[', ']');
}

void JsonWriter::endArray() {
    close();
}

void JsonWriter::key(const std::string& name) {
    separate();
    __stream << quoted(name) << ": ";
    __afterKey = true;
}

void JsonWriter::value(const std::string& text) {
    separate();
    __stream << quoted(text);
}

void JsonWriter::value(const char* text) {
    value(std::string(text));
}

void JsonWriter::value(double number) {
    if (!std::isfinite(number)) {
        null();
        return;
    }
    separate();
    char text[40]; // the shortest that reads back as the same
    __stream.write(text, std::to_chars(text, text + sizeof text, number).ptr - text);
}

void JsonWriter::value(int number) {
    separate();
    __stream << number;
}

void JsonWriter::value(bool truth) {
    separate();
    __stream << (truth ? "true" : "false");
}

void JsonWriter::null() {
    separate();
    __stream << "null";
}

void JsonWriter::open(char bracket, char close) {
    separate();
    __stream << bracket;
    __levels.push_back({close, true});
}

void JsonWriter::close() {
    const Level level = __levels.back();
    __levels.pop_back();
    if (!level.empty)
        __stream << '\n' << std::string(2 * __levels.size(), ' ');
    __stream << level.close;
    if (__levels.empty())
        __stream << '\n';
}

/// What stands in front of a value or a key: nothing behind a key, else a comma where needed and a new line.
void JsonWriter::separate() {
    if (__afterKey) {
        __afterKey = false;
        return;
    }
    if (__levels.empty())
        return;
    __stream << (__levels.back().empty ? "\n" : ",\n") << std::string(2 * __levels.size(), ' ');
    __levels.back().empty = false;
}

} // namespace vorlen
