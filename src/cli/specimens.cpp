#include "cli/specimens.h"

#include <filesystem>
#include <fstream>
#include <map>

#include "cli/commandline.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

SpecimenList readTable(const std::string& name) {
    std::ifstream table(name);
    if (!table)
        throw FileReadError("SpecimenList readTable(const string&)", "Cannot open file for reading", name);
    SpecimenList list;
    std::map<std::string, int> numbers;
    const std::filesystem::path folder = std::filesystem::path(name).parent_path();
    std::string text;
    for (int number = 1; std::getline(table, text); ++number) {
        if (!text.empty() && text.back() == '\r')
            text.pop_back();
        if (text.empty() || text.front() == '#')
            continue;
        const std::size_t tab = text.find('\t');
        if (tab == std::string::npos || tab == 0 || tab + 1 == text.size())
            throw FileReadError("SpecimenList readTable(const string&)",
                                "Line " + std::to_string(number) + " has no file and group", name);
        const std::string file = text.substr(0, tab);
        const std::string group = text.substr(tab + 1, text.find('\t', tab + 1) - tab - 1);
        if (list.files.empty() && file == "file" && group == "group")
            continue;
        const auto [found, isNew] = numbers.emplace(group, static_cast<int>(list.groupNames.size()));
        if (isNew)
            list.groupNames.push_back(group);
        list.files.push_back((folder / file).string());
        list.groups.push_back(found->second);
    }
    return list;
}

/// "5,5,4": the first five files are the first group, and so on.
bool readGroups(const CommandLine& line, SpecimenList& list) {
    const QStringList sizes = line.value("groups").split(',');
    for (const QString& word : sizes) {
        bool good = false;
        const int size = word.toInt(&good);
        if (!good || size < 1 || std::size_t(size) > list.files.size()) {
            line.usageError("--groups takes the numbers of files of the groups, 5,5 say, not '" + line.value("groups") +
                            "'");
            return false;
        }
        list.groups.insert(list.groups.end(), std::size_t(size), static_cast<int>(list.groupNames.size()));
        list.groupNames.push_back(std::to_string(list.groupNames.size() + 1));
    }
    if (list.groups.size() != list.files.size()) {
        line.usageError("--groups tells of " + QString::number(list.groups.size()) + " files, and there are " +
                        QString::number(list.files.size()));
        return false;
    }
    if (!line.isSet("names"))
        return true;
    const QStringList names = line.value("names").split(',');
    if (names.size() != sizes.size()) {
        line.usageError("--names takes a name for each group");
        return false;
    }
    for (qsizetype i = 0; i < names.size(); ++i)
        list.groupNames[std::size_t(i)] = names[i].toStdString();
    return true;
}

} // namespace

std::optional<SpecimenList> readSpecimens(const CommandLine& line) {
    SpecimenList list;
    if (line.isSet("table")) {
        if (!line.files().empty() || line.isSet("groups")) {
            line.usageError("a table names the files and their groups: give no others");
            return std::nullopt;
        }
        list = readTable(line.path("table"));
    } else {
        list.files = line.files();
        if (!line.isSet("groups") || list.files.empty()) {
            line.usageError("give files and --groups, or --table");
            return std::nullopt;
        }
        if (!readGroups(line, list))
            return std::nullopt;
    }
    return list;
}

} // namespace vorlen
