#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "normalization/densitymapping.h"
#include "normalization/maplattice.h"
#include "values/lengthunit.h"

namespace vorlen {

class CommandLine;

/// The files of a comparison and the group of each.
struct SpecimenList {
    std::vector<std::string> files;
    std::vector<int> groups; ///< for each file, counted from 0
    std::vector<std::string> groupNames;

    std::vector<int> groupSizes() const;
};

/// From --groups and the files, or from --table: lines of a file and a group with a tabulator between, where files are
/// looked for beside the table, a line that begins with # is passed over, and so is a first line "file", "group".
/// Nothing, and a word about it, for wrong usage; throws FileReadError for a table that can't be read.
std::optional<SpecimenList> readSpecimens(const CommandLine& line);

/// How maps are made of specimens that are point patterns.
struct SpecimenMapping {
    DensitySettings settings;
    float resolution = 0; ///< 0: a hundredth of the longest side
    std::vector<std::string> masks;
};

/// Values of specimens at the same places.
struct SpecimenValues {
    std::vector<std::vector<float>> values;   ///< of each specimen: one for each place, or three for forms
    bool isForm = false;                      ///< vertices that correspond; else a map
    std::optional<MapLattice<float>> lattice; ///< where the elements of maps lie
    std::optional<LengthUnit> unit;           ///< that the files tell
};

/// Density maps of point patterns over one box, by one bandwidth, the mean of those of the specimens unless one is set;
/// maps (.vm) of one size as they are; with forms the vertices of shapes of as many vertices. Tells on the standard
/// output of what it finds. Throws UsageError when the specimens don't go together, and as reading does.
SpecimenValues readValues(const SpecimenList& specimens, bool forms, SpecimenMapping mapping);

} // namespace vorlen
