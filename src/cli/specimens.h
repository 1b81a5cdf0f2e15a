#pragma once

#include <optional>

#include "normalization/specimenvalues.h"

namespace vorlen {

class CommandLine;

/// From --groups and the files, or from --table: lines of a file and a group with a tabulator between, where files are
/// looked for beside the table, a line that begins with # is passed over, and so is a first line "file", "group".
/// Nothing, and a word about it, for wrong usage; throws FileReadError for a table that can't be read.
std::optional<SpecimenList> readSpecimens(const CommandLine& line);

} // namespace vorlen
