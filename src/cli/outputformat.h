#pragma once

#include <optional>

#include "cli/commandline.h"

enum class OutputFormat { Table, Csv, Json };

/// The format that the command line asks for; nothing, and a word about it on the standard error stream, for a format
/// that there is not.
std::optional<OutputFormat> outputFormat(const CommandLine& line);
