#pragma once

#include <functional>
#include <optional>

#include "cli/commandline.h"
#include "cli/jsonwriter.h"
#include "cli/memoryneed.h"
#include "cli/stackfile.h"

namespace vorlen {

enum class OutputFormat { Table, Csv, Json };

/// The format that the command line asks for; nothing, and a word about it on the standard error stream, for a format
/// that there is not.
std::optional<OutputFormat> outputFormat(const CommandLine& line);

/// What a command says of a stack, as an exit status.
using StackReport = std::function<int(const StackFile&, OutputFormat, JsonWriter&)>;

/// Runs a command that reports on stack files in one of the formats: parses its line, which has the option of the
/// format, and gives each file to report, whether it could be read or not. In JSON the whole is an array. The worst
/// exit status of all. At --dry-run it only tells what they take.
int reportOnFiles(CommandLine& line, const QStringList& arguments, const StackReport& report,
                  const MemoryNeed& need = {});

/// The same for the stacks that can be opened; problems go to the standard error stream.
int reportOnStacks(CommandLine& line, const QStringList& arguments, const StackReport& report,
                   const MemoryNeed& need = {});

} // namespace vorlen
