#pragma once

#include <optional>
#include <string>
#include <vector>

#include "values/lengthunit.h"

namespace vorlen {

class GroupComparison;

/// Where the results of a comparison go, and how they are written.
struct ComparisonFiles {
    std::string base;               ///< path that all names begin with
    std::string program;            ///< that is named in the summary
    std::optional<LengthUnit> unit; ///< of the points; that of the maps by default
    bool overwrite = false;
    bool gzip = false;
    bool nifti = false;

    /// What the names of the volumes end in.
    std::vector<std::string> suffixes() const;
    /// All files that saveComparison() may write, of maps or of forms.
    std::vector<std::string> names(bool forms) const;
};

/// What was found, in sentences: groups, statistic, number of significant places, the greatest clusters.
std::vector<std::string> comparisonSentences(const GroupComparison& comparison);

/// Writes a comparison that has been run: statistic, p and, of two groups, difference as volumes, the surface around
/// the significant places, and the summary; of forms a table of the vertices and the summary. Returns the files in the
/// order of writing. Throws FileWriteError when one can't be written, also one that is there and is to be kept.
std::vector<std::string> saveComparison(const GroupComparison& comparison, const ComparisonFiles& files);

} // namespace vorlen
