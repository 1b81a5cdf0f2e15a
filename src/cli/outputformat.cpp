#include "cli/outputformat.h"

#include <algorithm>
#include <iostream>

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

int reportOnStacks(CommandLine& line, const QStringList& arguments,
                   const std::function<int(const StackFile&, OutputFormat, JsonWriter&)>& work) {
    if (const std::optional<int> status = line.parse(arguments))
        return *status;
    const std::optional<OutputFormat> format = outputFormat(line);
    if (!format)
        return ExitUsage;
    int status = ExitGood;
    JsonWriter json(std::cout);
    if (*format == OutputFormat::Json)
        json.beginArray();
    for (const std::string& name : line.files()) {
        const StackFile file(name);
        status = std::max(status, file.report());
        if (file.isOpened())
            status = std::max(status, work(file, *format, json));
    }
    if (*format == OutputFormat::Json)
        json.endArray();
    return status;
}
