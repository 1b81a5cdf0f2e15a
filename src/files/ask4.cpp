#include "files/ask4.h"

#include <charconv>
#include <iostream>

#include "numerics/exception.h"

namespace vorlen {

namespace {

std::string askLine(const std::string& text, const char* where) {
    std::cout << "<Input> " << text << ": " << std::flush;
    std::string line;
    if (!std::getline(std::cin, line))
        throw FileReadError(where, "The input has ended", "standard input");
    return line;
}

template <class T>
T askNumber(const std::string& text, const char* where) {
    for (;;) {
        std::string line = askLine(text, where);
        line.erase(0, line.find_first_not_of(" \t\r"));
        line.erase(line.find_last_not_of(" \t\r") + 1);
        T value = T(0);
        const char* const end = line.data() + line.size();
        const std::from_chars_result result = std::from_chars(line.data(), end, value);
        if (result.ec == std::errc() && result.ptr == end)
            return value;
    }
}

} // namespace

std::string ask4string(const std::string& text) {
    return askLine(text, "string ask4string(const string&)");
}

int ask4int(const std::string& text) {
    return askNumber<int>(text, "int ask4int(const string&)");
}

unsigned int ask4uint(const std::string& text) {
    return askNumber<unsigned int>(text, "unsigned int ask4uint(const string&)");
}

float ask4float(const std::string& text) {
    return askNumber<float>(text, "float ask4float(const string&)");
}

} // namespace vorlen
