#include "reconstruction/modelmorphometry.h"

#include <cmath>
#include <optional>
#include <vector>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "numerics/exception.h"
#include "reconstruction/flatoutline.h"
#include "reconstruction/modelsurface.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/pixelsteps.h"
#include "shapes/sectionregion.h"

namespace vorlen {

namespace {

constexpr double notAvailable = -1;

/// For each column the row of its largest component by absolute value.
Vector<int> nearestCoordinateAxes(const SquareMatrix<double>& axes) {
    Vector<int> nearest(axes.getSize2());
    for (int i = 0; i < axes.getSize2(); ++i) {
        Vector<double> column = axes.getColumn(i);
        column.apply(std::fabs);
        nearest[i] = column.maxPos();
    }
    return nearest;
}

/// Whether any outline changes without the steps of the pixel grid.
bool hasSteps(const Model& model) {
    std::vector<double> coordinates, left;
    for (int i = 0; i < model.getNumItems(); ++i) {
        const ModelItem& item = model.getItem(i);
        coordinates.clear();
        appendCoordinates(item, coordinates);
        if (item.isConnected() && removePixelSteps(coordinates.data(), item.getSize(), item.isClosed(), left))
            return true;
    }
    return false;
}

/// What the model encloses on its slices.
std::vector<OutlineTower::Section> sectionsOf(const Model& model, const StackReconstruction<double>& reconstruction) {
    std::vector<OutlineTower::Section> sections;
    std::vector<double> outline;
    const auto items = reconstruction.itemsOf(model);
    for (std::size_t first = 0, last = 0; first < items.size(); first = last) {
        SectionRegion region;
        double noise = 0;
        for (last = first; last < items.size() && items[last].first == items[first].first; ++last) {
            outline.clear();
            appendCoordinates(*items[last].second, outline);
            region.add(outline.size() / 2, [&](std::size_t k) {
                return SectionRegion::Point{outline[2 * k], outline[2 * k + 1]};
            });
            if (!outline.empty())
                noise += FlatOutline::areaNoise(outline.data(), int(outline.size() / 2), 2);
        }
        sections.push_back({items[first].first, region.area(), noise});
    }
    return sections;
}

} // namespace

ModelMorphometry::ModelMorphometry() {
    clear();
}

void ModelMorphometry::setModel(const Model& model) {
    if (__model == &model)
        return;
    __model = &model;
    clear();
}

void ModelMorphometry::clear() {
    __numVertices = 0;
    __numContours = 0;
    __isobarycenter.setZeros(3);
    __area = __areaWithoutSteps = 0;
    __volume = 0;
    __slabVolume = 0;
    __pathLength = notAvailable;
    __closedArea = __closedVolume = notAvailable;
    __shape = ModelShape();
    __volumeError = __areaError = __closedAreaError = notAvailable;
    __certificate = {};
    __reason.clear();
    __mainAxesLengths.setZeros(3);
    __mainAxes.setZeros(3, 3);
    __matchingCoordinateAxes.setZeros(3);
}

/// Counts items and vertices, and gives the slice of the first item.
const StackSlice* ModelMorphometry::count() {
    clear();
    if (__model == nullptr)
        throw UsageError("void ModelMorphometry::run()", "No model has been set");
    const StackSlice* firstSlice = nullptr;
    for (int i = 0; i < __model->getNumItems(); ++i) {
        const ModelItem& item = __model->getItem(i);
        __numVertices += item.getSize();
        if (firstSlice == nullptr)
            firstSlice = item.getSlice();
    }
    __numContours = __model->getNumItems();
    return firstSlice;
}

void ModelMorphometry::run() {
    const StackSlice* const firstSlice = count();
    if (__numVertices < 1)
        return;
    if (firstSlice == nullptr || firstSlice->getStack() == nullptr)
        throw UsageError("void ModelMorphometry::run()", "The items of the model are in no stack");
    run(StackReconstruction<double>(*firstSlice->getStack()));
}

void ModelMorphometry::run(const StackReconstruction<double>& reconstruction) {
    Towers towers;
    if (!runWithoutMesh(reconstruction, towers))
        runByMesh(reconstruction);
}

bool ModelMorphometry::runWithoutMesh(const StackReconstruction<double>& reconstruction, Towers& towers) {
    count();
    if (__numVertices < 1)
        return true;
    if (__shapeWanted || __model->getProperties().getGeometry() != PolygonPrimitive ||
        !towers.whole.take(*__model, reconstruction, towers.smooth))
        return false;
    const std::optional<OutlineTower::Measures> drawn = towers.whole.measure(__ends);
    const bool steps = towers.whole.hadSteps();
    const std::optional<OutlineTower::Measures> smooth = drawn && steps ? towers.smooth.measure(__ends) : drawn;
    if (!drawn || !smooth)
        return false;
    __certificate = drawn->certificate;
    __closedVolume = __certificate.volume;
    __area = drawn->wallArea;
    __areaWithoutSteps = smooth->wallArea;
    __closedArea = smooth->closedArea;
    if (__errorsWanted && !estimateErrors(steps ? towers.smooth : towers.whole, towers.half))
        return false;
    findAxes(towers.whole.centre(), towers.whole.scatter(), __numVertices);
    addSections(reconstruction, towers.whole.getSections());
    return true;
}

void ModelMorphometry::runByMesh(const StackReconstruction<double>& reconstruction) {
    count();
    if (__numVertices < 1)
        return;
    const ModelSurface<double> surface(*__model, reconstruction);
    if (surface.getShape().getNumVertices() == 0)
        throw UsageError("void ModelMorphometry::run(...)", "The items of the model are in no stack");
    findAxes(surface.getShape().cog(), surface.getShape().inertia(), surface.getShape().getNumVertices());

    if (surface.getKind() == SurfaceKind::Points)
        return;
    __reason = surface.reason();
    const bool closed = __model->getProperties().getGeometry() == PolygonPrimitive;
    if (surface.isPath())
        __pathLength = surface.path().length();
    if (surface.exists()) {
        const TriMesh<double> tiles = surface.tile(2);
        __area = __areaWithoutSteps = tiles.area();
        if (closed)
            close(surface, tiles);
        std::optional<ModelSurface<double>> smooth;
        if (hasSteps(*__model))
            takeSteps(smooth.emplace(*__model, reconstruction, OutlineSteps::Removed));
        if (__errorsWanted)
            estimateErrors(smooth ? *smooth : surface);
    } else {
        __area = __areaWithoutSteps = __volume = notAvailable;
    }
    if (closed)
        addSections(reconstruction, sectionsOf(*__model, reconstruction));
    // Sections at one height enclose no volume, not one of 0.
    if (closed && surface.getKind() == SurfaceKind::Unspaced && __volume == 0)
        __volume = notAvailable;
}

/// From the mean of the vertices and their scatter around it.
void ModelMorphometry::findAxes(const Vector<double>& centre, SquareMatrix<double> scatter, int numVertices) {
    __isobarycenter = centre;
    scatter /= double(numVertices);
    scatter.eigenJacobi(__mainAxesLengths, __mainAxes, true);
    // Rounding may leave the eigenvalue of a flat set of vertices a trace below 0.
    for (double& length : __mainAxesLengths)
        length = length > 0 ? std::sqrt(length) : 0;
    __matchingCoordinateAxes = nearestCoordinateAxes(__mainAxes);
}

void ModelMorphometry::close(const ModelSurface<double>& surface, const TriMesh<double>& tiles) {
    const TriMesh<double> mesh = surface.isGrid() ? surface.close(tiles, __ends) : surface.closed(__ends);
    __certificate = SurfaceCertificate::of(mesh);
    if (!__certificate.closed)
        return;
    __closedArea = mesh.area();
    __closedVolume = __certificate.volume;
    if (__shapeWanted && __closedVolume != 0)
        __shape = ModelShape(mesh, __closedVolume);
}

/// Measures the areas anew, on outlines without the steps of the pixel grid.
void ModelMorphometry::takeSteps(const ModelSurface<double>& smooth) {
    if (!smooth.exists())
        return;
    const TriMesh<double> tiles = smooth.tile(2);
    __areaWithoutSteps = tiles.area();
    if (!__certificate.closed)
        return;
    const TriMesh<double> mesh = smooth.isGrid() ? smooth.close(tiles, __ends) : smooth.closed(__ends);
    if (SurfaceCertificate::of(mesh).closed)
        __closedArea = mesh.area();
}

void ModelMorphometry::estimateErrors(const ModelSurface<double>& surface) {
    double volume = 0, area = 0, closedArea = 0;
    for (const bool fromSecond : {false, true}) {
        const ModelSurface<double> half = surface.everySecond(fromSecond);
        if (!half.exists() || half.getKind() == SurfaceKind::Outline)
            return;
        area += half.tile(2).area() / 2;
        const TriMesh<double> mesh = half.closed(__ends);
        closedArea += mesh.area() / 2;
        volume += SurfaceCertificate::of(mesh).volume / 2;
    }
    __areaError = std::fabs(area - __areaWithoutSteps);
    if (!__certificate.closed)
        return;
    __closedAreaError = std::fabs(closedArea - __closedArea);
    __volumeError = std::fabs(volume - __closedVolume);
}

/// The same of a tower. False when a half of it has to be looked at as a mesh.
bool ModelMorphometry::estimateErrors(const OutlineTower& tower, OutlineTower& half) {
    double volume = 0, area = 0, closedArea = 0;
    for (const bool fromSecond : {false, true}) {
        tower.everySecond(fromSecond, half);
        if (half.getNumLevels() < 2)
            return true;
        const std::optional<OutlineTower::Measures> measures = half.measure(__ends);
        if (!measures)
            return false;
        area += measures->wallArea / 2;
        closedArea += measures->closedArea / 2;
        volume += measures->certificate.volume / 2;
    }
    __areaError = std::fabs(area - __areaWithoutSteps);
    __closedAreaError = std::fabs(closedArea - __closedArea);
    __volumeError = std::fabs(volume - __closedVolume);
    return true;
}

double ModelMorphometry::getBestVolume() const {
    return isBestVolumeOfSurface() ? __closedVolume : __volume;
}

/// Sections on which the model encloses nothing count as if it were not there. Where there are no others, its surface
/// encloses nothing either, but for rounding and for the twist of bands between lines.
void ModelMorphometry::addSections(const StackReconstruction<double>& reconstruction,
                                   const std::vector<OutlineTower::Section>& sections) {
    __volume = 0;
    double below = 0, spacing = 0, position = 0; // of the section before
    bool enclosesSomething = false;
    for (const OutlineTower::Section& section : sections) {
        const StackSlice& slice = reconstruction.getSlice(section.slice);
        const PixelCalibration& calibration = slice.getPixelCalibration();
        const double above =
            section.area * std::fabs(double(calibration.getPixelWidth()) * double(calibration.getPixelHeight()));
        if (section.area <= section.noise)
            continue;
        enclosesSomething = true;
        const double here = reconstruction.getZMap()[section.slice];
        if (below != 0) {
            const double height = std::fabs(here - position);
            __volume += height * below;
            __slabVolume += height / 3 * (below + above + std::sqrt(below * above));
        }
        below = above;
        position = here;
        spacing = slice.getRelativePosition();
    }
    __volume += std::fabs(spacing) * below;
    if (enclosesSomething || !__certificate.closed)
        return;
    __closedVolume = __certificate.volume = 0;
    __certificate.outward = false;
    __certificate.centroid = {};
    __shape = ModelShape();
}

double ModelMorphometry::getEquivRadius() const {
    return std::pow(3 * __volume / 12.566370614359172, 0.3333333333333333);
}

bool ModelMorphometry::simpleCurveStack(const CurveStack<double>& stack) const {
    return !stack.isBranching();
}

} // namespace vorlen
