#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "cli/texttable.h"

namespace vorlen {

class StackFile;

/// The tables of several stacks, collected to be printed as comma-separated values: those of one title and the same
/// columns under one line of headers, with the names of file and stack on every row.
class CsvTables {
public:
    void add(const std::string& title, const StackFile& file, const TextTable& table);

    /// Titles in the order in which they came first, with an empty line behind each table where that is wanted. The
    /// names of file and stack are left out where there is one file.
    void print(std::ostream& stream, bool namesFiles, bool emptyLines) const;

private:
    struct Part {
        std::string title;
        std::string file;
        std::string stack;
        TextTable table;
    };

    std::vector<Part> __parts;
};

} // namespace vorlen
