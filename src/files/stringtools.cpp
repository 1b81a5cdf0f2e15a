#include "files/stringtools.h"

namespace vorlen {

std::vector<std::string> StringTools::tokenize(const std::string& text, const std::string& delimiters) {
    std::vector<std::string> tokens;
    std::size_t first = text.find_first_not_of(delimiters);
    while (first != std::string::npos) {
        const std::size_t end = text.find_first_of(delimiters, first);
        tokens.push_back(text.substr(first, end - first));
        first = text.find_first_not_of(delimiters, end);
    }
    return tokens;
}

std::string StringTools::toString(int n) {
    return std::to_string(n);
}

std::string StringTools::toString(int n, int width, char fill) {
    const std::string text = toString(n);
    const std::size_t length = width > 0 ? static_cast<std::size_t>(width) : 0;
    return text.size() < length ? std::string(length - text.size(), fill) + text : text;
}

} // namespace vorlen
