#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QString>

#include "normalization/mapblock.h"
#include "shapes/shape.h"
#include "values/lengthunit.h"

namespace vorlen {

class CommandLine;
struct DensitySettings;

/// The options of a density map: method, resolution, rank, kernel, bandwidth.
void addDensityOptions(CommandLine& line, const QString& method);
/// Reads them; a resolution of 0 is a hundredth of the longest side. False, and a word about it, for wrong usage.
bool readDensityOptions(const CommandLine& line, DensitySettings& settings, float& resolution);

/// The numbers given with an option that may stand several times; nothing, and a word about it, for what is none.
std::optional<std::vector<float>> numbers(const CommandLine& line, const QString& option);

/// Reads a point pattern behind the others and tells of it; the exit status of a failure.
int readPattern(const std::string& name, std::vector<std::unique_ptr<Shape<float>>>& patterns);

/// Reads --unit, where it is given; false, and a word about it, for what is no unit.
bool readUnit(const CommandLine& line, std::optional<LengthUnit>& unit);

/// Reads --chunk, "2/5" say, where it is given, which goes without --merge; false, and a word about it, for what is no
/// part.
bool readChunk(const CommandLine& line, std::optional<WorkPart>& part);

} // namespace vorlen
