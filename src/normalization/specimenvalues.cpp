#include "normalization/specimenvalues.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "images/volumes/voxelmatrix.h"
#include "normalization/bandwidthrule.h"
#include "numerics/exception.h"
#include "progress/progressproxy.h"
#include "shapes/boundingbox.h"
#include "shapes/grid.h"
#include "shapes/shape.h"

namespace vorlen {

namespace {

constexpr const char* where = "SpecimenValues readValues(...)";

using Shapes = std::vector<std::shared_ptr<Shape<float>>>;

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

std::shared_ptr<Shape<float>> shapeOf(const SpecimenList& specimens, std::size_t place) {
    if (place < specimens.shapes.size() && specimens.shapes[place])
        return specimens.shapes[place];
    return std::shared_ptr<Shape<float>>(Shape<float>::loadFile(specimens.files[place]));
}

SpecimenValues formsOf(const SpecimenList& specimens) {
    SpecimenValues result;
    result.isForm = true;
    result.values.reserve(specimens.files.size());
    for (std::size_t s = 0; s < specimens.files.size(); ++s) {
        const std::shared_ptr<Shape<float>> shape = shapeOf(specimens, s);
        const std::string& name = specimens.files[s];
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

/// Steps equal but for rounding, and the same unit.
void requireSameSteps(const VoxelCalibration& first, const VoxelCalibration& other, const std::string& name) {
    if (!(first.getLengthUnit() == other.getLengthUnit()))
        throw UsageError(where, name + " is in " + other.getLengthUnit().symbol() + ", the first map in " +
                                    first.getLengthUnit().symbol());
    for (int a = 0; a < 3; ++a) {
        const float step = first.getVoxelSize()[a], its = other.getVoxelSize()[a];
        if (!(std::abs(step - its) <= 1e-4f * std::max(std::abs(step), std::abs(its))))
            throw UsageError(where, name + " has not the steps of the first map");
    }
}

SpecimenValues mapsOf(const SpecimenList& specimens) {
    SpecimenValues result;
    Vector<int> size(3);
    VoxelCalibration calibration;
    result.values.reserve(specimens.files.size());
    for (const std::string& name : specimens.files) {
        const VoxelMatrix<float> map(name);
        if (result.values.empty()) {
            size = map.getSize();
            calibration = map.getVoxelCalibration();
            const Vector<float> steps = calibration.getVoxelSize();
            Vector<float> lower(3), upper(3);
            for (int a = 0; a < 3; ++a) {
                lower[a] = 0;
                upper[a] = float(size[a]) * (steps[a] > 0 ? steps[a] : 1.0f);
            }
            result.lattice.emplace(MapLayout::Cells, BoundingBox<float>(lower, upper), size);
            result.unit = calibration.getLengthUnit();
        }
        if (map.getSize() != size)
            throw UsageError(where, name + " has not the size of the first map");
        requireSameSteps(calibration, map.getVoxelCalibration(), name);
        result.values.push_back(rowOf(map));
    }
    return result;
}

double meanBandwidth(const Shapes& patterns, DensityKernel kernel) {
    double sum = 0;
    int numUsed = 0;
    for (const std::shared_ptr<Shape<float>>& pattern : patterns) {
        std::vector<float> coordinates;
        coordinates.reserve(3 * std::size_t(pattern->getNumVertices()));
        for (ConstVertexIterator<float> it(*pattern); it.current(); ++it)
            coordinates.insert(coordinates.end(), it.current()->data(), it.current()->data() + 3);
        const double bandwidth = normalReferenceBandwidth(coordinates, kernel);
        sum += bandwidth;
        numUsed += bandwidth > 0 ? 1 : 0;
    }
    return numUsed > 0 ? sum / numUsed : 0;
}

Shapes patternsOf(const SpecimenList& specimens, std::vector<std::string>& notes) {
    Shapes patterns;
    patterns.reserve(specimens.files.size());
    for (std::size_t s = 0; s < specimens.files.size(); ++s) {
        patterns.push_back(shapeOf(specimens, s));
        const std::string& name = specimens.files[s];
        const ShapeType type = patterns.back()->getShapeType();
        if (type != VerticesType && type != VertexStackType)
            throw UsageError(where, name + " is no point pattern. All files must be point patterns, or all maps");
        if (patterns.back()->getNumVertices() == 0 || patterns.back()->getSpace() != 3)
            throw UsageError(where, name + " holds no points of space");
        notes.push_back(name + ": " + std::to_string(patterns.back()->getNumVertices()) + " points");
    }
    return patterns;
}

std::vector<Shape<float>*> seen(const Shapes& shapes) {
    std::vector<Shape<float>*> result;
    result.reserve(shapes.size());
    for (const std::shared_ptr<Shape<float>>& each : shapes)
        result.push_back(each.get());
    return result;
}

SpecimenValues densitiesOf(const SpecimenList& specimens, SpecimenMapping mapping, ProgressProxy& monitor) {
    SpecimenValues result;
    const Shapes patterns = patternsOf(specimens, result.notes);
    Shapes masks = mapping.maskShapes;
    masks.reserve(masks.size() + mapping.masks.size());
    for (const std::string& name : mapping.masks)
        masks.emplace_back(Shape<float>::loadFile(name));
    DensitySettings& settings = mapping.settings;
    if (settings.method == KernelMethod && settings.corrected && !(settings.bandwidth > 0)) {
        settings.bandwidth = float(meanBandwidth(patterns, settings.kernel));
        result.notes.push_back("Bandwidth for all specimens: " + number(double(settings.bandwidth)) +
                               (settings.unit.empty() ? "" : " " + settings.unit));
    }
    const Grid<float> grid = DensityMapping(settings, seen(patterns), {}).grid(mapping.resolution);
    result.values.reserve(patterns.size());
    for (std::size_t s = 0; s < patterns.size() && !monitor.isCanceled(); ++s) {
        monitor.notifyProgressed("Density map " + std::to_string(s + 1) + " of " + std::to_string(patterns.size()));
        DensityMapping each(settings, {patterns[s].get()}, seen(masks));
        each.estimator().addMonitor(monitor);
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

SpecimenValues readValues(const SpecimenList& specimens, bool forms, SpecimenMapping mapping, ProgressProxy& monitor) {
    if (forms)
        return formsOf(specimens);
    const auto isMap = [](const std::string& name) { return std::filesystem::path(name).extension() == ".vm"; };
    const bool inMemory = std::any_of(specimens.shapes.begin(), specimens.shapes.end(),
                                      [](const std::shared_ptr<Shape<float>>& each) { return each != nullptr; });
    if (!inMemory && std::all_of(specimens.files.begin(), specimens.files.end(), isMap))
        return mapsOf(specimens);
    return densitiesOf(specimens, std::move(mapping), monitor);
}

} // namespace vorlen
