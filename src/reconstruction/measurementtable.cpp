#include "reconstruction/measurementtable.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <unordered_map>
#include <utility>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "images/filters/parallelwork.h"
#include "numerics/exception.h"
#include "progress/progresssubject.h"
#include "reconstruction/modeldistances.h"
#include "reconstruction/modelitemgeometry.h"
#include "reconstruction/modelmorphometry.h"
#include "reconstruction/stackreconstruction.h"

namespace vorlen {

namespace {

using Column = MeasurementTable::Column;

std::string unitOf(const Stack& stack, int power = 1) {
    const std::string unit = stack.getLengthUnit().symbol();
    return power == 1 ? unit : unit + '^' + std::to_string(power);
}

const char* const surfaceEstimator = "closed surface";
const char* const sectionEstimator = "sum over sections";
const char* const stepless = "digital straight segments";

std::vector<Column> shapeColumns(const Stack& stack) {
    const std::string length = unitOf(stack);
    const std::string box = "Side of the closed surface's box along an axis of the world";
    const std::string oriented = "Side of the box of the least volume around the closed surface, the longest first";
    const std::string filled = "cubes in the closed surface";
    return {{"Width", "box", length, box, false, surfaceEstimator},
            {"Height", "box", length, box, false, surfaceEstimator},
            {"Depth", "box", length, box, false, surfaceEstimator},
            {"OrientedBox1", "orientedBox", length, oriented, false, surfaceEstimator},
            {"OrientedBox2", "orientedBox", length, oriented, false, surfaceEstimator},
            {"OrientedBox3", "orientedBox", length, oriented, false, surfaceEstimator},
            {"LargestFeret", "largestFeret", length, "Greatest distance between two points of the closed surface",
             false, surfaceEstimator},
            {"SmallestFeret", "smallestFeret", length,
             "Least distance of two parallel planes that hold the closed surface between them", false,
             surfaceEstimator},
            {"MeanThickness", "meanThickness", length,
             "Diameter of the largest ball within that holds a place, its mean over all places", false, filled},
            {"LargestThickness", "largestThickness", length, "Diameter of the largest ball within", false, filled},
            {"SkeletonLength", "skeletonLength", length,
             "Length of the lines along the middle of tubes, up to their ends", false, filled},
            {"Branches", "branches", "", "Number of the skeleton's lines between ends and forks"},
            {"Ends", "ends", "", "Number of the skeleton's free ends"}};
}

std::vector<Column> modelColumns(const Stack& stack, bool withErrors, bool withShape) {
    const std::string length = unitOf(stack), area = unitOf(stack, 2), volume = unitOf(stack, 3);
    const std::string average = "Mean of all vertices, after the registration of the slices";
    const std::string centroid = "Centroid of what the closed surface encloses";
    const std::string axis = "Standard deviation of the vertices along a main axis of the model, the longest first";
    std::vector<Column> columns = {
        {"Model", "name", "", ""},
        {"Geometry", "geometry", "", ""},
        {"Vertices", "vertices", "", ""},
        {"Contours", "contours", "", ""},
        {"AverageX", "barycenter", length, average, false, "vertices"},
        {"AverageY", "barycenter", length, average, false, "vertices"},
        {"AverageZ", "barycenter", length, average, false, "vertices"},
        {"CentroidX", "centroid", length, centroid, false, surfaceEstimator},
        {"CentroidY", "centroid", length, centroid, false, surfaceEstimator},
        {"CentroidZ", "centroid", length, centroid, false, surfaceEstimator},
        {"Area", "area", area,
         "Area of the surface between the contours of successive slices, without the ends and without the steps of the "
         "pixel grid",
         false, "surface without ends, " + std::string(stepless)},
        {"DrawnArea", "drawnArea", area,
         "Area of the surface between the contours of successive slices as they are drawn, without the ends", false,
         "surface without ends, as drawn"},
        {"Volume", "volume", volume,
         "Volume within the closed surface, which ends half a section beyond the outermost contours; the sum over the "
         "sections where there is no closed surface",
         false, surfaceEstimator},
        {"SectionVolume", "sectionVolume", volume,
         "Sum over the sections: area of what the contours of a slice enclose, holes left out, times the distance to "
         "the next slice that has some",
         false, sectionEstimator},
        {"SlabVolume", "slabVolume", volume,
         "Volume of the slabs between successive sections, each as a frustum, h/3 (A1 + A2 + sqrt(A1 A2)), without "
         "the ends",
         false, "slabs between sections"},
        {"ClosedArea", "closedArea", area,
         "Area of the closed surface, ends included, without the steps of the pixel grid", false,
         std::string(surfaceEstimator) + ", " + stepless},
        {"ClosedVolume", "closedVolume", volume, "Volume within the closed surface, by the divergence theorem", false,
         surfaceEstimator},
        {"Sphericity", "sphericity", "", "Area of the ball of the closed surface's volume to its area: 1 for a ball",
         false, surfaceEstimator},
        {"SurfaceToVolume", "surfaceToVolume", unitOf(stack, -1), "Area of the closed surface to its volume", false,
         surfaceEstimator},
        {"Surface", "surface", "", "What holds of the closed surface"},
        {"Parts", "parts", "", "Number of separate pieces of the closed surface"},
        {"Euler", "eulerNumber", "", "Vertices - edges + triangles of the closed surface: 2 for a ball"},
        {"Genus", "genus", "", "Number of handles of the closed surface: 0 for a ball, 1 for a ring"},
        {"EquivRadius", "equivalentRadius", length, "Radius of the ball of the volume", false, surfaceEstimator},
        {"Axis1", "mainAxesLengths", length, axis},
        {"Axis2", "mainAxesLengths", length, axis},
        {"Axis3", "mainAxesLengths", length, axis},
        {"PathLength", "pathLength", length,
         "Length of the path through the sections that an open line of one point on each of them is"}};
    const std::string error = "Change when every second section is left out: more than the error of ";
    const char* const halves = "every second section left out";
    if (withErrors)
        columns.insert(columns.end(),
                       {{"VolumeError", "volumeError", volume, error + "ClosedVolume", false, halves},
                        {"AreaError", "areaError", area, error + "Area", false, halves},
                        {"ClosedAreaError", "closedAreaError", area, error + "ClosedArea", false, halves}});
    if (withShape)
        for (Column& column : shapeColumns(stack))
            columns.push_back(std::move(column));
    return columns;
}

std::vector<Column> itemColumns(const Stack& stack) {
    const std::string length = unitOf(stack);
    return {{"Model", "model", "", ""},
            {"Slice", "slice", "", "Slice of the item", true},
            {"Vertices", "vertices", "", ""},
            {"Length", "length", length,
             "Length of the line, with the edge that closes an outline, without the steps of the pixel grid: digital "
             "straight segments count as straight lines",
             false, stepless},
            {"DrawnLength", "drawnLength", length, "Length of the line as it is drawn", false, "edges as drawn"},
            {"Area", "area", unitOf(stack, 2), "Area of the outline"},
            {"AverageX", "barycenter", length, "Mean of the vertices on the slice, along its columns"},
            {"AverageY", "barycenter", length, "Mean of the vertices on the slice, along its rows"},
            {"Z", "barycenter", length, "Position of the slice along the cutting axis"}};
}

std::vector<Column> pointColumns(const Stack& stack) {
    const std::string length = unitOf(stack);
    return {{"Slice", "slice", "", "Slice of the item", true},
            {"X", "position", length, "Position on the slice, along its columns"},
            {"Y", "position", length, "Position on the slice, along its rows"},
            {"Z", "position", length, "Position of the slice along the cutting axis"}};
}

std::vector<Column> sliceColumns(const Stack& stack) {
    std::vector<Column> columns = {
        {"Slice", "name", "", "", true},
        {"Position", "position", unitOf(stack), "Position of the slice along the cutting axis"}};
    for (int m = 0; m < stack.getNumModels(); ++m) {
        const bool points = stack.getModel(m).getProperties().getGeometry() == PolypointPrimitive;
        columns.push_back({stack.getModel(m).getName(), "counts", "",
                           points ? "Number of points on the slice" : "Number of outlines on the slice"});
    }
    return columns;
}

std::vector<Column> distanceColumns(const std::string& length) {
    const char* const byArea = "mean over the area";
    const char* const farthest = "farthest vertices and places between them";
    return {{"First", "first", "", ""},
            {"Second", "second", "", ""},
            {"Surfaces", "surfaces", "", "Whether the surfaces are closed, or end with their lines"},
            {"Least", "least", length, "Least distance between the surfaces: 0 where they touch or cross", false,
             "all pairs of triangles"},
            {"MeanToSecond", "meanToSecond", length,
             "Distance of a place of the first surface from the second, its mean", false, byArea},
            {"MeanToFirst", "meanToFirst", length, "Distance of a place of the second surface from the first, its mean",
             false, byArea},
            {"Mean", "mean", length, "Distance of a place of either surface from the other, its mean", false, byArea},
            {"FarthestToSecond", "farthestToSecond", length,
             "Distance of the first surface's farthest place from the second surface", false, farthest},
            {"FarthestToFirst", "farthestToFirst", length,
             "Distance of the second surface's farthest place from the first surface", false, farthest},
            {"Hausdorff", "hausdorff", length, "The greater one of the two farthest distances", false, farthest}};
}

/// Measures those models that need no mesh, several at once, and tells which. What fails is left for later, to fail
/// where it can be told.
std::vector<unsigned char> measureWithoutMesh(const std::vector<const Model*>& models,
                                              const StackReconstruction<double>& reconstruction,
                                              std::vector<ModelMorphometry>& measured) {
    std::vector<unsigned char> done(models.size(), 0);
    ProgressSubject subject;
    const Pieces pieces(int(models.size()), 16);
    ParallelWork work(subject, 1);
    std::vector<ModelMorphometry::Towers> towers(static_cast<std::size_t>(work.workers()));
    work.run(pieces.count(), 1, [&](int piece, int worker) {
        for (int m = pieces.first(piece); m < pieces.last(piece); ++m) {
            ModelMorphometry& morphometry = measured[std::size_t(m)];
            morphometry.setModel(*models[std::size_t(m)]);
            try {
                done[std::size_t(m)] = morphometry.runWithoutMesh(reconstruction, towers[std::size_t(worker)]);
            } catch (const Exception&) {
                done[std::size_t(m)] = 0;
            }
        }
    });
    return done;
}

/// How many columns of items tell what they are.
constexpr int numItemNames = 2;

} // namespace

MeasurementTable::MeasurementTable(std::vector<Column> columns) : __columns(std::move(columns)), __texts(1) {
}

std::vector<int> MeasurementTable::find(const std::vector<std::string>& names) const {
    std::vector<int> places;
    for (const std::string& name : names) {
        const auto found =
            std::find_if(__columns.begin(), __columns.end(), [&](const Column& column) { return column.name == name; });
        if (found != __columns.end())
            places.push_back(int(found - __columns.begin()));
    }
    return places;
}

unsigned int MeasurementTable::addText(const std::string& text) {
    __texts.push_back(text);
    return static_cast<unsigned int>(__texts.size() - 1);
}

void MeasurementTable::addTextCell(unsigned int text, int rank) {
    __cells.push_back({double(rank), text, CellKind::Text});
}

void MeasurementTable::addCount(int count) {
    __cells.push_back({double(count), 0, CellKind::Count});
}

void MeasurementTable::addNumber(double number, unsigned int estimator) {
    __cells.push_back({number, estimator, CellKind::Number});
}

const std::string& MeasurementTable::getEstimator(int row, int column) const {
    const Cell& number = cell(row, column);
    if (number.kind != CellKind::Number)
        return __texts[0];
    return number.text != 0 ? __texts[number.text] : __columns[std::size_t(column)].estimator;
}

const SurfaceCertificate* MeasurementTable::getCertificate(int row) const {
    return row < int(__certificates.size()) && __certificates[std::size_t(row)].closed
               ? &__certificates[std::size_t(row)]
               : nullptr;
}

void MeasurementTable::addMissing(unsigned int reason) {
    __cells.push_back({0, reason, CellKind::Missing});
}

/// The text of the cells that are missing for it.
unsigned int MeasurementTable::noteFailure(const std::string& what, const std::string& why) {
    __failures.push_back(what + ": " + why);
    return addText("Not available: the measurement failed. " + why);
}

/// Fills the rest of the row that has been begun.
void MeasurementTable::addFailure(const std::string& what, const std::string& why) {
    const unsigned int reason = noteFailure(what, why);
    do
        addMissing(reason);
    while (__cells.size() % __columns.size() != 0);
}

MeasurementTable MeasurementTable::ofModels(const Stack& stack, Errors errors, Shape shape) {
    std::vector<const Model*> models;
    models.reserve(std::size_t(stack.getNumModels()));
    for (int m = 0; m < stack.getNumModels(); ++m)
        models.push_back(&stack.getModel(m));
    return ofModels(stack, models, errors, shape);
}

MeasurementTable MeasurementTable::ofModels(const Stack& stack, const std::vector<const Model*>& models, Errors errors,
                                            Shape shape) {
    const bool withErrors = errors == Errors::Estimated, withShape = shape == Shape::Measured;
    MeasurementTable table(modelColumns(stack, withErrors, withShape));
    const StackReconstruction<double> reconstruction(stack);
    ModelMorphometry plain;
    plain.setErrorsWanted(withErrors);
    plain.setShapeWanted(withShape);
    std::vector<ModelMorphometry> measured(models.size(), plain);
    const std::vector<unsigned char> done = measureWithoutMesh(models, reconstruction, measured);
    for (std::size_t m = 0; m < models.size(); ++m) {
        const Model* const model = models[m];
        ModelMorphometry& morphometry = measured[m];
        table.addTextCell(table.addText(model->getName()));
        table.addTextCell(table.addText(ModelProperties::toString(model->getProperties().getGeometry())));
        table.__certificates.emplace_back();
        try {
            if (done[m] == 0)
                morphometry.runByMesh(reconstruction);
            table.addModel(morphometry);
            if (withErrors)
                table.addErrors(morphometry);
            if (withShape)
                table.addShape(morphometry);
        } catch (const Exception& failure) {
            table.addFailure("model \"" + model->getName() + "\"", failure.getWhat());
        }
    }
    return table;
}

void MeasurementTable::addModel(const ModelMorphometry& morphometry) {
    const unsigned int reason = morphometry.getArea() < 0 ? addText("Not available: " + morphometry.getReason()) : 0;
    const SurfaceCertificate& certificate = __certificates.back() = morphometry.getCertificate();
    const unsigned int open = reason != 0               ? reason
                              : !certificate.closed     ? addText("Not available: the model has no closed surface")
                              : certificate.volume == 0 ? addText("Not available: the model encloses nothing")
                                                        : 0;
    addCount(morphometry.getNumVertices());
    addCount(morphometry.getNumContours());
    for (int axis = 0; axis < 3; ++axis)
        addNumber(morphometry.getIsobarycenter()[axis]);
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (certificate.volume != 0)
            addNumber(certificate.centroid[axis]);
        else
            addMissing(open);
    for (const double area : {morphometry.getAreaWithoutSteps(), morphometry.getArea()})
        if (area < 0)
            addMissing(reason);
        else
            addNumber(area);
    addVolumes(morphometry, reason);
    addSurface(morphometry, open);
    const double volume = morphometry.getBestVolume();
    if (volume < 0)
        addMissing(reason);
    else
        addNumber(std::cbrt(volume * 3 / (4 * 3.14159265358979323846)),
                  morphometry.isBestVolumeOfSurface() ? 0 : addText(sectionEstimator));
    for (int axis = 0; axis < 3; ++axis)
        addNumber(morphometry.getMainAxesLengths()[axis]);
    if (morphometry.getPathLength() < 0)
        addMissing(addText("Not available: the model is no open line of one point on each slice"));
    else
        addNumber(morphometry.getPathLength());
}

void MeasurementTable::addVolumes(const ModelMorphometry& morphometry, unsigned int reason) {
    if (morphometry.getVolume() < 0) {
        for (int column = 0; column < 3; ++column)
            addMissing(reason);
        return;
    }
    addNumber(morphometry.getBestVolume(), morphometry.isBestVolumeOfSurface() ? 0 : addText(sectionEstimator));
    addNumber(morphometry.getVolume());
    addNumber(morphometry.getSlabVolume());
}

/// The columns about the closed surface; open tells why there is none.
void MeasurementTable::addSurface(const ModelMorphometry& morphometry, unsigned int open) {
    const SurfaceCertificate& certificate = morphometry.getCertificate();
    if (!certificate.closed) {
        for (int column = 0; column < 8; ++column)
            addMissing(open);
        return;
    }
    const double area = morphometry.getClosedArea(), volume = morphometry.getClosedVolume();
    addNumber(area);
    addNumber(volume);
    if (certificate.isSound()) {
        addNumber(std::cbrt(36 * 3.14159265358979323846 * volume * volume) / area);
        addNumber(area / volume);
    } else {
        const unsigned int unsound = addText("Not available: " + certificate.toText());
        addMissing(unsound);
        addMissing(unsound);
    }
    addTextCell(addText(certificate.isSound() ? "closed" : certificate.toText()));
    addCount(certificate.parts);
    addCount(int(certificate.euler));
    if (certificate.genus() >= 0)
        addCount(int(certificate.genus()));
    else
        addMissing(addText("Not available: " + certificate.toText()));
}

void MeasurementTable::addErrors(const ModelMorphometry& morphometry) {
    for (const double error :
         {morphometry.getVolumeError(), morphometry.getAreaError(), morphometry.getClosedAreaError()})
        if (error < 0)
            addMissing(addText("Not available: it takes a surface through four sections or more"));
        else
            addNumber(error);
}

void MeasurementTable::addShape(const ModelMorphometry& morphometry) {
    const ModelShape& shape = morphometry.getShape();
    if (shape.largestFeret == 0) {
        const unsigned int open = addText("Not available: the model has no closed surface");
        for (int column = 0; column < 13; ++column)
            addMissing(open);
        return;
    }
    for (const double side : shape.box)
        addNumber(side);
    for (const double side : shape.orientedBox)
        addNumber(side);
    for (const double length : {shape.largestFeret, shape.smallestFeret})
        addNumber(length);
    const unsigned int thin = shape.meanThickness > 0 ? 0 : addText("Not available: the model is too thin all over");
    for (const double length : {shape.meanThickness, shape.greatestThickness, shape.skeletonLength})
        if (thin != 0)
            addMissing(thin);
        else
            addNumber(length);
    for (const int number : {shape.branches, shape.ends})
        if (thin != 0)
            addMissing(thin);
        else
            addCount(number);
}

MeasurementTable MeasurementTable::ofDistances(ModelDistances& distances, int surface) {
    MeasurementTable table(distanceColumns(distances.getUnit()));
    const int n = distances.getNumSurfaces();
    std::vector<std::pair<int, int>> pairs;
    for (int i = 0; i < n; ++i)
        for (int j = surface < 0 ? i + 1 : 0; j < n; ++j)
            if (i != j && (surface < 0 || i == surface))
                pairs.emplace_back(i, j);
    const auto total = static_cast<unsigned int>(pairs.size());
    for (unsigned int k = 0; k < total && !distances.isCanceled(); ++k) {
        distances.notifyProgressed(k, total);
        table.addDistances(distances, pairs[k].first, pairs[k].second);
    }
    return table;
}

void MeasurementTable::addDistances(const ModelDistances& distances, int first, int second) {
    addTextCell(addText(distances.getName(first)));
    addTextCell(addText(distances.getName(second)));
    const bool isClosed = distances.isClosed(first), isSecondClosed = distances.isClosed(second);
    addTextCell(addText(isClosed == isSecondClosed ? (isClosed ? "both closed" : "both open")
                        : isClosed                 ? "second open"
                                                   : "first open"));
    const SurfaceDistances found = distances.measure(first, second);
    for (const double distance : {found.least, found.meanToSecond, found.meanToFirst, found.mean,
                                  found.farthestToSecond, found.farthestToFirst, found.hausdorff})
        addNumber(distance);
}

/// Measures the items of some rows, all of which are there and have their names. Those that fail are left as they are,
/// and given in the order of the rows.
std::vector<MeasurementTable::FailedItem> MeasurementTable::setItems(const std::vector<ItemOnSlice>& items,
                                                                     const std::vector<double>& positions) {
    ProgressSubject subject;
    const Pieces pieces(int(items.size()), 512);
    ParallelWork work(subject, 1);
    std::vector<ModelItemGeometry> geometries(static_cast<std::size_t>(work.workers()));
    std::vector<std::vector<FailedItem>> failed(geometries.size());
    work.run(pieces.count(), 1, [&](int piece, int worker) {
        ModelItemGeometry& geometry = geometries[std::size_t(worker)];
        for (int k = pieces.first(piece); k < pieces.last(piece); ++k)
            try {
                geometry.setModelItem(*items[std::size_t(k)].item);
                geometry.run(positions[std::size_t(items[std::size_t(k)].slice)]);
                setItem(std::size_t(k), geometry);
            } catch (const Exception& failure) {
                failed[std::size_t(worker)].push_back({std::size_t(k), failure.getWhat()});
            }
    });
    std::vector<FailedItem> all;
    for (std::vector<FailedItem>& each : failed)
        std::move(each.begin(), each.end(), std::back_inserter(all));
    std::sort(all.begin(), all.end(), [](const FailedItem& a, const FailedItem& b) { return a.row < b.row; });
    return all;
}

void MeasurementTable::setItem(std::size_t row, const ModelItemGeometry& geometry) {
    Cell* cell = &__cells[row * __columns.size() + numItemNames];
    *cell++ = {double(geometry.getNumVertices()), 0, CellKind::Count};
    for (const double number :
         {geometry.getLengthWithoutSteps(), geometry.getLength(), std::fabs(geometry.getArea()),
          geometry.getIsobarycenter()[0], geometry.getIsobarycenter()[1], geometry.getIsobarycenter()[2]})
        *cell++ = {number, 0, CellKind::Number};
}

/// The names of a row's model and slice; that of the slice, which is noted once for all rows in a row.
void MeasurementTable::setItemNames(const std::vector<ItemOnSlice>& items, const Stack& stack) {
    std::unordered_map<const Model*, unsigned int> models;
    int slice = -1;
    unsigned int sliceText = 0;
    Cell* cell = __cells.data();
    for (const ItemOnSlice& each : items) {
        if (slice != each.slice)
            sliceText = addText(stack.getSlice(each.slice).getName());
        slice = each.slice;
        const Model* const model = each.item->getModel();
        const auto [place, isNew] = models.emplace(model, 0);
        if (isNew && model != nullptr)
            place->second = addText(model->getName());
        cell[0] = {0, place->second, CellKind::Text};
        cell[1] = {double(slice), sliceText, CellKind::Text};
        cell += __columns.size();
    }
}

template <class Includes>
MeasurementTable MeasurementTable::ofItemsThat(const Stack& stack, const Includes& includes) {
    std::vector<ItemOnSlice> items;
    for (int s = 0; s < stack.getNumSlices(); ++s)
        for (int k = 0; k < stack.getSlice(s).getNumItems(); ++k)
            if (const ModelItem& item = stack.getSlice(s).getItem(k); includes(item))
                items.push_back({&item, s});
    MeasurementTable table(itemColumns(stack));
    table.__cells.resize(items.size() * table.__columns.size());
    table.setItemNames(items, stack);
    const std::vector<double> positions = stack.getAbsolutePositions();
    for (const FailedItem& failed : table.setItems(items, positions))
        table.failItem(failed, stack.getSlice(items[failed.row].slice).getName());
    return table;
}

void MeasurementTable::failItem(const FailedItem& failed, const std::string& slice) {
    Cell* const cells = &__cells[failed.row * __columns.size()];
    const unsigned int reason =
        noteFailure("an item of model \"" + __texts[cells[0].text] + "\" on slice \"" + slice + "\"", failed.why);
    std::fill(cells + numItemNames, cells + __columns.size(), Cell{0, reason, CellKind::Missing});
}

MeasurementTable MeasurementTable::ofItems(const Stack& stack) {
    return ofItemsThat(stack, [](const ModelItem&) { return true; });
}

MeasurementTable MeasurementTable::ofItems(const Stack& stack, const Model& model) {
    return ofItemsThat(stack, [&](const ModelItem& item) { return item.getModel() == &model; });
}

MeasurementTable MeasurementTable::ofPoints(const Stack& stack, const Model& model) {
    MeasurementTable table(pointColumns(stack));
    ModelItemGeometry geometry;
    const std::vector<double> positions = stack.getAbsolutePositions();
    for (int rank = 0; rank < stack.getNumSlices(); ++rank) {
        const StackSlice& slice = stack.getSlice(rank);
        for (int k = 0; k < slice.getNumItems(); ++k)
            if (slice.getItem(k).getModel() == &model) {
                geometry.setModelItem(slice.getItem(k));
                geometry.run(positions[std::size_t(rank)]);
                table.addPoints(geometry, table.addText(slice.getName()), rank);
            }
    }
    return table;
}

void MeasurementTable::addPoints(const ModelItemGeometry& geometry, unsigned int slice, int rank) {
    const Vertices<double>& points = geometry.getVertices();
    for (int v = 0; v < points.getNumVertices(); ++v) {
        addTextCell(slice, rank);
        addNumber(points[v][0]);
        addNumber(points[v][1]);
        addNumber(geometry.getIsobarycenter()[2]);
    }
}

MeasurementTable MeasurementTable::ofSlices(const Stack& stack) {
    MeasurementTable table(sliceColumns(stack));
    std::unordered_map<const Model*, std::size_t> places;
    for (int m = 0; m < stack.getNumModels(); ++m)
        places.emplace(&stack.getModel(m), std::size_t(m));
    std::vector<int> counts(places.size());
    table.__cells.reserve(std::size_t(stack.getNumSlices()) * table.__columns.size());
    const std::vector<double> positions = stack.getAbsolutePositions();
    for (int s = 0; s < stack.getNumSlices(); ++s) {
        const StackSlice& slice = stack.getSlice(s);
        std::fill(counts.begin(), counts.end(), 0);
        for (int k = 0; k < slice.getNumItems(); ++k) {
            const ModelItem& item = slice.getItem(k);
            const auto place = places.find(item.getModel());
            if (place != places.end())
                counts[place->second] += item.isConnected() ? 1 : item.getSize();
        }
        table.addTextCell(table.addText(slice.getName()), s);
        table.addNumber(positions[std::size_t(s)]);
        for (const int count : counts)
            table.addCount(count);
    }
    return table;
}

} // namespace vorlen
