#include "cli/texttable.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace vorlen {

namespace {

/// Number of characters of a UTF-8 text: the bytes that do not continue a character.
std::size_t width(const std::string& text) {
    return std::size_t(std::count_if(
        text.begin(), text.end(), [](char c) { return (c & 0xc0) != 0x80; }));
}

bool isNumber(const std::string& text) {
    if (text.empty() || text == "NA")
        return true;
    char* end = nullptr;
    std::strtod(text.c_str(), &end);
    return *end == '\0';
}

std::string csvCell(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"')
            result += '"';
        result += c;
    }
    return result + '"';
}

} // namespace

TextTable::TextTable(std::vector<std::string> headers) : __headers(std::move(headers)) {
}

void TextTable::addRow(std::vector<std::string> cells) {
    __rows.push_back(std::move(cells));
}

void TextTable::putInFront(const std::vector<std::string>& headers, const std::vector<std::string>& cells) {
    __headers.insert(__headers.begin(), headers.begin(), headers.end());
    for (auto& row : __rows)
        row.insert(row.begin(), cells.begin(), cells.end());
}

bool TextTable::append(const TextTable& other) {
    if (other.__headers != __headers)
        return false;
    __rows.insert(__rows.end(), other.__rows.begin(), other.__rows.end());
    return true;
}

void TextTable::print(std::ostream& stream) const {
    const std::size_t numColumns = __headers.size();
    std::vector<std::size_t> widths(numColumns);
    std::vector<bool> toTheRight(numColumns, true);
    for (std::size_t c = 0; c < numColumns; ++c) {
        widths[c] = width(__headers[c]);
        for (const auto& row : __rows) {
            widths[c] = std::max(widths[c], width(row[c]));
            toTheRight[c] = toTheRight[c] && isNumber(row[c]);
        }
    }
    const auto printRow = [&](const std::vector<std::string>& cells) {
        std::string line;
        for (std::size_t c = 0; c < numColumns; ++c) {
            const std::string padding(widths[c] - width(cells[c]), ' ');
            line += (c == 0 ? "" : "  ") + (toTheRight[c] ? padding + cells[c] : cells[c] + padding);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        stream << line << '\n';
    };
    printRow(__headers);
    for (const auto& row : __rows)
        printRow(row);
}

void TextTable::printCsv(std::ostream& stream) const {
    const auto printRow = [&](const std::vector<std::string>& cells) {
        for (std::size_t c = 0; c < cells.size(); ++c)
            stream << (c == 0 ? "" : ",") << csvCell(cells[c]);
        stream << '\n';
    };
    printRow(__headers);
    for (const auto& row : __rows)
        printRow(row);
}

} // namespace vorlen
