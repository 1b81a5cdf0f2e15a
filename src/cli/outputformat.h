#pragma once

#include <functional>
#include <optional>

#include "cli/commandline.h"
#include "cli/jsonwriter.h"
#include "cli/stackfile.h"

enum class OutputFormat { Table, Csv, Json };

/// The format that the command line asks for; nothing, and a word about it on the standard error stream, for a format
/// that there is not.
std::optional<OutputFormat> outputFormat(const CommandLine& line);

/// Runs a command that reports on stacks in one of the formats: parses its line, which has the option of the format,
/// and gives each stack that can be opened to work, whose result is an exit status. In JSON the whole is an array. The
/// worst exit status of all.
int reportOnStacks(CommandLine& line, const QStringList& arguments,
                   const std::function<int(const StackFile&, OutputFormat, JsonWriter&)>& work);
