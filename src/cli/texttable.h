#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace vorlen {

/// A table of texts: printed with aligned columns for people, or as comma-separated values.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> headers);

    void addRow(std::vector<std::string> cells);
    /// Puts columns in front of the others, with the same cells in each row.
    void putInFront(const std::vector<std::string>& headers, const std::vector<std::string>& cells);
    /// Takes the rows of a table of the same columns over; false, and nothing, for another one.
    bool append(const TextTable& other);
    bool isEmpty() const { return __rows.empty(); }

    /// Columns padded with blanks to their widest cell, two blanks between; numbers stand to the right.
    void print(std::ostream& stream) const;

    /// Cells that hold a comma, a quote or a line break are quoted as RFC 4180 says.
    void printCsv(std::ostream& stream) const;

private:
    std::vector<std::string> __headers;
    std::vector<std::vector<std::string>> __rows;
};

} // namespace vorlen
