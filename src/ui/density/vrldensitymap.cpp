#include "ui/density/vrldensitymap.h"

#include <cmath>
#include <cstdio>

#include "files/fileinfo.h"
#include "images/files/niftiwriter.h"
#include "images/files/nrrdwriter.h"
#include "numerics/exception.h"
#include "progress/progressmonitor.h"
#include "reconstruction/marchingcubes.h"
#include "ui/density/densitycolor.h"
#include "ui/density/densityslicepaintergl.h"
#include "ui/viewer/trimeshpaintergl.h"
#include "ui/viewer/voxelmatrixpaintergl.h"

namespace vorlen {

namespace {

std::vector<Shape<float>*> copies(const std::vector<const Shape<float>*>& shapes,
                                  std::vector<std::unique_ptr<Shape<float>>>& owned) {
    std::vector<Shape<float>*> seen;
    seen.reserve(shapes.size());
    owned.reserve(shapes.size());
    for (const Shape<float>* shape : shapes) {
        owned.emplace_back(shape->clone());
        owned.back()->detach();
        owned.back()->setName(shape->getName());
        seen.push_back(owned.back().get());
    }
    return seen;
}

Vector<int> colorOf(float level, const DensityReport& report) {
    const double width = double(report.greatest) - double(report.least);
    const QColor color = densityColor(width > 0 ? (double(level) - double(report.least)) / width : 1);
    Vector<int> parts(3);
    parts[0] = color.red();
    parts[1] = color.green();
    parts[2] = color.blue();
    return parts;
}

} // namespace

std::optional<LengthUnit> commonUnit(const std::vector<DensityShape>& shapes, const std::vector<int>& places) {
    std::optional<LengthUnit> common;
    const DensityShape* first = nullptr;
    const auto told = [](const DensityShape& shape) {
        return shape.name.toStdString() + (shape.unit ? " is in " + shape.unit->symbol() : " has no known unit");
    };
    for (const int place : places) {
        const DensityShape& shape = shapes.at(std::size_t(place));
        if (first == nullptr) {
            first = &shape;
            common = shape.unit;
        } else if (shape.unit != common) {
            throw UsageError("optional<LengthUnit> commonUnit(const vector<DensityShape>&, const vector<int>&)",
                             told(*first) + ", " + told(shape));
        }
    }
    return common;
}

QString lengthText(double length, const std::optional<LengthUnit>& unit) {
    const QString number = QString::number(length, 'g', 4);
    return unit ? number + " " + QString::fromStdString(unit->symbol()) : number;
}

VRLDensityMap::VRLDensityMap(const VRLDensityMappingConfig& config, const std::vector<const Shape<float>*>& patterns,
                             const std::vector<const Shape<float>*>& masks, const std::optional<LengthUnit>& unit)
    : __config(config), __unit(unit) {
    const char* const where = "VRLDensityMap::VRLDensityMap(...)";
    if (patterns.empty())
        throw UsageError(where, "A density map needs a point pattern");
    for (const Shape<float>* pattern : patterns)
        if (config.settings.method == PoissonMethod && pattern->getNumVertices() < config.settings.neighbourRank)
            throw UsageError(where, "The pattern \"" + pattern->getName() + "\" has " +
                                        std::to_string(pattern->getNumVertices()) + " points, and so no neighbour of " +
                                        "rank " + std::to_string(config.settings.neighbourRank));
    const std::vector<Shape<float>*> seen = copies(patterns, __patterns);
    DensitySettings settings = config.settings;
    settings.unit = unit ? unit->symbol() : "";
    __mapping = std::make_unique<DensityMapping>(settings, seen, copies(masks, __masks));
    __grid = __mapping->grid(config.resolution);
}

bool VRLDensityMap::compute(ProgressMonitor& monitor) {
    DensityEstimator<float>& estimator = __mapping->estimator();
    estimator.addMonitor(monitor);
    try {
        __report = __mapping->compute(__matrix, __grid);
    } catch (...) {
        estimator.removeMonitor(monitor);
        throw;
    }
    estimator.removeMonitor(monitor);
    return !estimator.isCanceled();
}

QString VRLDensityMap::densityUnit() const {
    if (__config.settings.method == HistogramMethod)
        return "points";
    return __unit ? "per " + QString::fromStdString(__unit->symbol()) + QChar(0x00b3) : QString();
}

MapLattice<float> VRLDensityMap::lattice() const {
    return __mapping->estimator().lattice(__grid.getBoundingBox(), __grid.getSize());
}

BoundingBox<float> VRLDensityMap::cellBox() const {
    const MapLattice<float> places = lattice();
    const Vector<float> steps = places.steps();
    Vector<float> low = places.origin(), high(3);
    for (int axis = 0; axis < 3; ++axis) {
        low[axis] -= steps[axis] / 2;
        high[axis] = low[axis] + float(places.getSize(axis)) * steps[axis];
    }
    return {low, high};
}

float VRLDensityMap::percentile(float percent) const {
    return __mapping->estimator().percentile(__matrix, __grid, percent);
}

DensityMapView& VRLDensityMap::addView(const VRLDensityMapViewConfig& config) {
    auto view = std::make_unique<DensityMapView>();
    view->config = config;
    if (config.viewType == DensityViewType::Slice) {
        auto painter = std::make_unique<DensitySlicePainterGL>(__matrix, lattice());
        painter->setPlane(config.axis, __grid.getSize()[config.axis] / 2);
        view->painter = std::move(painter);
    } else if (config.viewType == DensityViewType::Counts) {
        auto painter = std::make_unique<VoxelMatrixPainterGL<float>>();
        ShapePainterAttributesGL attributes;
        attributes.setColor(colorOf(__report.greatest, __report));
        painter->setAttributes(attributes);
        painter->setVoxelMatrix(__matrix);
        painter->setBoundingBox(cellBox());
        view->painter = std::move(painter);
    } else {
        view->level = config.viewType == DensityViewType::Percentile ? percentile(config.percentile) : config.threshold;
        MarchingCubes<float> cubes;
        if (!std::isfinite(view->level))
            throw UsageError("VRLDensityMap::addView(...)", "The density there is not finite");
        view->surface = std::make_unique<TriMesh<float>>(cubes.buildMesh(__matrix, view->level, true));
        if (view->surface->getNumVertices() == 0)
            throw UsageError("VRLDensityMap::addView(...)", "The map has no surface at this density");
        lattice().toCoordinates(*view->surface);
        auto painter = std::make_unique<TriMeshPainterGL<float>>();
        ShapePainterAttributesGL attributes = painter->getAttributes();
        attributes.setColor(colorOf(view->level, __report));
        painter->setAttributes(attributes);
        painter->setShape(*view->surface);
        view->painter = std::move(painter);
    }
    __views.push_back(std::move(view));
    return *__views.back();
}

void VRLDensityMap::removeView(const DensityMapView& view) {
    std::erase_if(__views, [&view](const std::unique_ptr<DensityMapView>& each) { return each.get() == &view; });
}

std::vector<std::string> VRLDensityMap::filesOf(const std::string& fileName) const {
    const bool nifti = isNiftiName(fileName);
    const std::size_t suffix =
        nifti ? (fileName.ends_with('i') || fileName.ends_with('I') ? 4u : 7u) : (fileName.ends_with(".vm") ? 3u : 0u);
    const std::string base = fileName.substr(0, fileName.size() - suffix);
    std::vector<std::string> files = {base + ".vm", nifti ? fileName : base + ".nrrd"};
    for (std::size_t k = 0; k < __views.size(); ++k) {
        char number[32];
        std::snprintf(number, sizeof number, "-%02zu.tm", k);
        if (__views[k]->surface)
            files.push_back(base + number);
    }
    return files;
}

std::vector<std::string> VRLDensityMap::save(const std::string& fileName, bool replaceSurfaces) const {
    const std::vector<std::string> files = filesOf(fileName);
    for (std::size_t k = 2; k < files.size() && !replaceSurfaces; ++k)
        FileInfo::requireFree(files[k], "std::vector<std::string> VRLDensityMap::save(const std::string&, bool) const");
    VoxelMatrix<float> copy = __matrix;
    __mapping->calibrate(copy, __grid, __unit.value_or(LengthUnit()).getScale());
    copy.save(files[0], true);
    if (isNiftiName(fileName))
        saveNifti(__matrix, lattice().origin(), lattice().steps(), __unit, files[1], true);
    else
        saveNrrd(__matrix, lattice().origin(), lattice().steps(), nrrdUnit(__unit), NrrdEncoding::Raw, files[1], true);
    std::size_t next = 2;
    for (const auto& view : __views)
        if (view->surface)
            view->surface->save(files[next++], replaceSurfaces);
    return files;
}

} // namespace vorlen
