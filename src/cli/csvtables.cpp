#include "cli/csvtables.h"

#include <algorithm>

#include "cli/stackfile.h"

namespace vorlen {

void CsvTables::add(const std::string& title, const StackFile& file, const TextTable& table) {
    __parts.push_back({title, file.getName(), file.getStack().getName(), table});
}

void CsvTables::print(std::ostream& stream, bool namesFiles, bool emptyLines) const {
    std::vector<std::string> titles;
    for (const Part& part : __parts)
        if (std::find(titles.begin(), titles.end(), part.title) == titles.end())
            titles.push_back(part.title);
    for (const std::string& title : titles) {
        std::vector<TextTable> tables;
        for (const Part& part : __parts) {
            if (part.title != title)
                continue;
            TextTable table = part.table;
            if (namesFiles)
                table.putInFront({"File", "Stack"}, {part.file, part.stack});
            if (tables.empty() || !tables.back().append(table))
                tables.push_back(std::move(table));
        }
        for (const TextTable& table : tables) {
            table.printCsv(stream);
            stream << (emptyLines ? "\n" : "");
        }
    }
}

} // namespace vorlen
