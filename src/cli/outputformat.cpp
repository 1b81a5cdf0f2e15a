#include "cli/outputformat.h"

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
