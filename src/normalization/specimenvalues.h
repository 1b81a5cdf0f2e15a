#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "normalization/densitymapping.h"
#include "normalization/maplattice.h"
#include "values/lengthunit.h"

namespace vorlen {

class ProgressProxy;

/// The specimens of a comparison and the group of each.
struct SpecimenList {
    std::vector<std::string> files;
    std::vector<int> groups; ///< for each file, counted from 0
    std::vector<std::string> groupNames;
    /// What stands for the files without reading them, each in the place of its file; null, or none at all, where the
    /// file is to be read. The name of the file is then that of the shape, for people.
    std::vector<std::shared_ptr<Shape<float>>> shapes;

    std::vector<int> groupSizes() const;
};

/// How maps are made of specimens that are point patterns.
struct SpecimenMapping {
    DensitySettings settings;
    float resolution = 0; ///< 0: a hundredth of the longest side
    std::vector<std::string> masks;
    std::vector<std::shared_ptr<Shape<float>>> maskShapes; ///< beside those of the files
};

/// Values of specimens at the same places.
struct SpecimenValues {
    std::vector<std::vector<float>> values;   ///< of each specimen: one for each place, or three for forms
    bool isForm = false;                      ///< vertices that correspond; else a map
    std::optional<MapLattice<float>> lattice; ///< where the elements of maps lie
    std::optional<LengthUnit> unit;           ///< that the files tell
    std::vector<std::string> notes;           ///< for people: numbers of points, the bandwidth
};

/// Density maps of point patterns over one box, by one bandwidth, the mean of those of the specimens unless one is set;
/// maps (.vm) of one size as they are; with forms the vertices of shapes of as many vertices.
///
/// The estimators report to the proxy; once it is cancelled the values count for nothing. Throws UsageError when the
/// specimens don't go together: maps of other steps or another unit, too, for a place would not be the same place; and
/// as reading does.
SpecimenValues readValues(const SpecimenList& specimens, bool forms, SpecimenMapping mapping, ProgressProxy& monitor);

} // namespace vorlen
