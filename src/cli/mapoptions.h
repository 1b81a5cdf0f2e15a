#pragma once

#include <optional>
#include <string>

#include "values/lengthunit.h"

namespace vorlen {

class CommandLine;

/// Reads --unit, where it is given; false, and a word about it, for what is no unit.
bool readUnit(const CommandLine& line, std::optional<LengthUnit>& unit);

/// The unit as NRRD files have it: "um"; empty when there is none.
std::string nrrdUnit(const std::optional<LengthUnit>& unit);

/// Takes --threads, where it is given, for all work to come; false, and a word about it, for a wrong number.
bool setThreads(const CommandLine& line);

} // namespace vorlen
