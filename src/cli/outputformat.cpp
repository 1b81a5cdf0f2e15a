#include "cli/outputformat.h"

#include <algorithm>
#include <iostream>

namespace vorlen {

std::optional<OutputFormat> outputFormat(const CommandLine& line) {
    const QString name = line.value("format");
    if (name == "table")
        return OutputFormat::Table;
    if (name == "csv")
        return OutputFormat::Csv;
    if (name == "json")
        return OutputFormat::Json;
    line.usageError("unknown format '" + name + "'");
    return std::nullopt;
}

int reportOnFiles(CommandLine& line, const QStringList& arguments, const StackReport& report, const MemoryNeed& need) {
    if (const std::optional<int> status = line.parse(arguments))
        return *status;
    const std::optional<OutputFormat> format = outputFormat(line);
    if (!format)
        return ExitUsage;
    if (line.isSet("dry-run"))
        return tellMemory(line.files(), need);
    int status = ExitGood;
    JsonWriter json(std::cout);
    if (*format == OutputFormat::Json)
        json.beginArray();
    for (const std::string& name : line.files())
        status = std::max(status, report(StackFile(name), *format, json));
    if (*format == OutputFormat::Json)
        json.endArray();
    return status;
}

int reportOnStacks(CommandLine& line, const QStringList& arguments, const StackReport& report, const MemoryNeed& need) {
    const auto reportOpened = [&report](const StackFile& file, OutputFormat format, JsonWriter& json) {
        const int status = file.report();
        return file.isOpened() ? std::max(status, report(file, format, json)) : status;
    };
    return reportOnFiles(line, arguments, reportOpened, need);
}

} // namespace vorlen
