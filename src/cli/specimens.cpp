#include "cli/specimens.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <utility>

#include "cli/commandline.h"
#include "cli/mapoptions.h"
#include "cli/stackfile.h"
#include "images/volumes/voxelmatrix.h"
#include "normalization/bandwidthrule.h"
#include "numerics/exception.h"
#include "shapes/boundingbox.h"
#include "shapes/grid.h"
#include "shapes/shape.h"

namespace vorlen {

namespace {

constexpr const char* where = "SpecimenValues readValues(...)";

using Shapes = std::vector<std::unique_ptr<Shape<float>>>;

SpecimenList readTable(const std::string& name) {
    std::ifstream table(name);
    if (!table)
        throw FileReadError("SpecimenList readTable(const string&)", "Cannot open file for reading", name);
    SpecimenList list;
    std::map<std::string, int> numbers;
    const std::filesystem::path folder = std::filesystem::path(name).parent_path();
    std::string text;
    for (int number = 1; std::getline(table, text); ++number) {
        if (!text.empty() && text.back() == '\r')
            text.pop_back();
        if (text.empty() || text.front() == '#')
            continue;
        const std::size_t tab = text.find('\t');
        if (tab == std::string::npos || tab == 0 || tab + 1 == text.size())
            throw FileReadError("SpecimenList readTable(const string&)",
                                "Line " + std::to_string(number) + " has no file and group", name);
        const std::string file = text.substr(0, tab);
        const std::string group = text.substr(tab + 1, text.find('\t', tab + 1) - tab - 1);
        if (list.files.empty() && file == "file" && group == "group")
            continue;
        const auto [found, isNew] = numbers.emplace(group, static_cast<int>(list.groupNames.size()));
        if (isNew)
            list.groupNames.push_back(group);
        list.files.push_back((folder / file).string());
        list.groups.push_back(found->second);
    }
    return list;
}

/// "5,5,4": the first five files are the first group, and so on.
bool readGroups(const CommandLine& line, SpecimenList& list) {
    const QStringList sizes = line.value("groups").split(',');
    for (const QString& word : sizes) {
        bool good = false;
        const int size = word.toInt(&good);
        if (!good || size < 1 || std::size_t(size) > list.files.size()) {
            line.usageError("--groups takes the numbers of files of the groups, 5,5 say, not '" + line.value("groups") +
                            "'");
            return false;
        }
        list.groups.insert(list.groups.end(), std::size_t(size), static_cast<int>(list.groupNames.size()));
        list.groupNames.push_back(std::to_string(list.groupNames.size() + 1));
    }
    if (list.groups.size() != list.files.size()) {
        line.usageError("--groups tells of " + QString::number(list.groups.size()) + " files, and there are " +
                        QString::number(list.files.size()));
        return false;
    }
    if (!line.isSet("names"))
        return true;
    const QStringList names = line.value("names").split(',');
    if (names.size() != sizes.size()) {
        line.usageError("--names takes a name for each group");
        return false;
    }
    for (qsizetype i = 0; i < names.size(); ++i)
        list.groupNames[std::size_t(i)] = names[i].toStdString();
    return true;
}

Shapes loadAll(const std::vector<std::string>& names) {
    Shapes shapes;
    shapes.reserve(names.size());
    for (const std::string& name : names)
        shapes.emplace_back(Shape<float>::loadFile(name));
    return shapes;
}

SpecimenValues formsOf(const SpecimenList& specimens) {
    SpecimenValues result;
    result.isForm = true;
    for (const std::unique_ptr<Shape<float>>& shape : loadAll(specimens.files)) {
        const std::string& name = specimens.files[result.values.size()];
        std::vector<float> row;
        row.reserve(3 * std::size_t(shape->getNumVertices()));
        if (shape->getSpace() != 3)
            throw UsageError(where, name + " is no shape of space");
        for (ConstVertexIterator<float> it(*shape); it.current(); ++it)
            row.insert(row.end(), it.current()->data(), it.current()->data() + 3);
        if (row.empty() || (!result.values.empty() && row.size() != result.values.front().size()))
            throw UsageError(where, name + " has " + std::to_string(row.size() / 3) +
                                        " vertices, which do not correspond to those of the first shape");
        result.values.push_back(std::move(row));
    }
    return result;
}

/// In the order of the places of PermutationTest.
std::vector<float> rowOf(const VoxelMatrix<float>& map) {
    std::vector<float> row;
    row.reserve(std::size_t(map.getSize1()) * std::size_t(map.getSize2()) * std::size_t(map.getSize3()));
    for (int k = 0; k < map.getSize3(); ++k)
        for (int i = 0; i < map.getSize1(); ++i) {
            const float* const from = map[k][i].data();
            row.insert(row.end(), from, from + map.getSize2());
        }
    return row;
}

SpecimenValues mapsOf(const SpecimenList& specimens) {
    SpecimenValues result;
    Vector<int> size(3);
    for (const std::string& name : specimens.files) {
        const VoxelMatrix<float> map(name);
        if (result.values.empty()) {
            size = map.getSize();
            const Vector<float> steps = map.getVoxelCalibration().getVoxelSize();
            Vector<float> lower(3), upper(3);
            for (int a = 0; a < 3; ++a) {
                lower[a] = 0;
                upper[a] = float(size[a]) * (steps[a] > 0 ? steps[a] : 1.0f);
            }
            result.lattice.emplace(MapLayout::Cells, BoundingBox<float>(lower, upper), size);
            result.unit = map.getVoxelCalibration().getLengthUnit();
        }
        if (map.getSize() != size)
            throw UsageError(where, name + " has not the size of the first map");
        result.values.push_back(rowOf(map));
    }
    return result;
}

double meanBandwidth(const Shapes& patterns, DensityKernel kernel) {
    double sum = 0;
    int number = 0;
    for (const std::unique_ptr<Shape<float>>& pattern : patterns) {
        std::vector<float> coordinates;
        for (ConstVertexIterator<float> it(*pattern); it.current(); ++it)
            coordinates.insert(coordinates.end(), it.current()->data(), it.current()->data() + 3);
        const double bandwidth = normalReferenceBandwidth(coordinates, kernel);
        sum += bandwidth;
        number += bandwidth > 0 ? 1 : 0;
    }
    return number > 0 ? sum / number : 0;
}

SpecimenValues densitiesOf(const SpecimenList& specimens, SpecimenMapping mapping) {
    Shapes patterns;
    for (const std::string& name : specimens.files)
        if (readPattern(name, patterns) != ExitGood)
            throw UsageError(where, "All files must be point patterns, or all maps");
    const Shapes masks = loadAll(mapping.masks);
    std::vector<Shape<float>*> all, masking;
    for (const auto& each : patterns)
        all.push_back(each.get());
    for (const auto& each : masks)
        masking.push_back(each.get());
    DensitySettings& settings = mapping.settings;
    if (settings.method == KernelMethod && settings.corrected && !(settings.bandwidth > 0)) {
        settings.bandwidth = float(meanBandwidth(patterns, settings.kernel));
        std::cout << "Bandwidth for all specimens: " << shortNumber(double(settings.bandwidth)) << '\n';
    }
    const Grid<float> grid = DensityMapping(settings, all, {}).grid(mapping.resolution);
    SpecimenValues result;
    result.values.reserve(all.size());
    for (Shape<float>* pattern : all) {
        DensityMapping each(settings, {pattern}, masking);
        VoxelMatrix<float> map;
        each.compute(map, grid);
        if (!result.lattice)
            result.lattice = each.estimator().lattice(grid.getBoundingBox(), grid.getSize());
        result.values.push_back(rowOf(map));
    }
    return result;
}

} // namespace

std::vector<int> SpecimenList::groupSizes() const {
    std::vector<int> sizes(groupNames.size(), 0);
    for (const int group : groups)
        ++sizes[std::size_t(group)];
    return sizes;
}

std::optional<SpecimenList> readSpecimens(const CommandLine& line) {
    SpecimenList list;
    if (line.isSet("table")) {
        if (!line.files().empty() || line.isSet("groups")) {
            line.usageError("a table names the files and their groups: give no others");
            return std::nullopt;
        }
        list = readTable(line.path("table"));
    } else {
        list.files = line.files();
        if (!line.isSet("groups") || list.files.empty()) {
            line.usageError("give files and --groups, or --table");
            return std::nullopt;
        }
        if (!readGroups(line, list))
            return std::nullopt;
    }
    return list;
}

SpecimenValues readValues(const SpecimenList& specimens, bool forms, SpecimenMapping mapping) {
    if (forms)
        return formsOf(specimens);
    const auto isMap = [](const std::string& name) { return std::filesystem::path(name).extension() == ".vm"; };
    if (std::all_of(specimens.files.begin(), specimens.files.end(), isMap))
        return mapsOf(specimens);
    return densitiesOf(specimens, std::move(mapping));
}

} // namespace vorlen
