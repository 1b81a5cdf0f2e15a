#pragma once

#include <ostream>
#include <string>

namespace vorlen {

struct FusionReport;

/// Writes the numbers of a normalization as JSON: unit, specimens with their residuals and warps, structures with the
/// deviations about the mean in the order of the mean's vertices, level by level, errors of the registration, warnings.
/// What is unknown is null.
void writeNormalizationReport(std::ostream& stream, const std::string& name, const FusionReport& report);

} // namespace vorlen
