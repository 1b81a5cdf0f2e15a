#include "reconstruction/measurementtable.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "numerics/exception.h"
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

std::vector<Column> modelColumns(const Stack& stack) {
    const std::string length = unitOf(stack);
    const std::string average = "Mean of all vertices, after the registration of the slices";
    const std::string axis = "Standard deviation of the vertices along a main axis of the model, the longest first";
    return {{"Model", "name", "", ""},
            {"Geometry", "geometry", "", ""},
            {"Vertices", "vertices", "", ""},
            {"Contours", "contours", "", ""},
            {"AverageX", "barycenter", length, average},
            {"AverageY", "barycenter", length, average},
            {"AverageZ", "barycenter", length, average},
            {"Area", "area", unitOf(stack, 2),
             "Area of the surface between the contours of successive slices, without the ends"},
            {"Volume", "volume", unitOf(stack, 3),
             "Area of what the contours of a slice enclose, holes left out, times the distance to the next slice that "
             "has some"},
            {"SlabVolume", "slabVolume", unitOf(stack, 3),
             "Volume of the slabs between successive sections, each as a frustum, h/3 (A1 + A2 + sqrt(A1 A2)), without "
             "the ends"},
            {"ClosedArea", "closedArea", unitOf(stack, 2), "Area of the closed surface, ends included"},
            {"ClosedVolume", "closedVolume", unitOf(stack, 3),
             "Volume within the closed surface, by the divergence theorem"},
            {"Surface", "surface", "", "What holds of the closed surface"},
            {"Parts", "parts", "", "Number of separate pieces of the closed surface"},
            {"Euler", "eulerNumber", "", "Vertices - edges + triangles of the closed surface: 2 for a ball"},
            {"Genus", "genus", "", "Number of handles of the closed surface: 0 for a ball, 1 for a ring"},
            {"EquivRadius", "equivalentRadius", length, "Radius of the ball of this volume"},
            {"Axis1", "mainAxesLengths", length, axis},
            {"Axis2", "mainAxesLengths", length, axis},
            {"Axis3", "mainAxesLengths", length, axis}};
}

std::vector<Column> itemColumns(const Stack& stack) {
    const std::string length = unitOf(stack);
    return {{"Model", "model", "", ""},
            {"Slice", "slice", "", "Slice of the item", true},
            {"Vertices", "vertices", "", ""},
            {"Length", "length", length, "Length of the line, with the edge that closes an outline"},
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

/// Calls visit(slice, place of the slice, item) for the items of the stack, slice by slice.
template <class Visitor>
void forItems(const Stack& stack, const Visitor& visit) {
    for (int s = 0; s < stack.getNumSlices(); ++s) {
        const StackSlice& slice = stack.getSlice(s);
        for (int k = 0; k < slice.getNumItems(); ++k)
            visit(slice, s, slice.getItem(k));
    }
}

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

void MeasurementTable::addNumber(double number) {
    __cells.push_back({number, 0, CellKind::Number});
}

void MeasurementTable::addMissing(unsigned int reason) {
    __cells.push_back({0, reason, CellKind::Missing});
}

/// Fills the rest of the row that has been begun.
void MeasurementTable::addFailure(const std::string& what, const std::string& why) {
    __failures.push_back(what + ": " + why);
    const unsigned int reason = addText("Not available: the measurement failed. " + why);
    do
        addMissing(reason);
    while (__cells.size() % __columns.size() != 0);
}

MeasurementTable MeasurementTable::ofModels(const Stack& stack) {
    std::vector<const Model*> models;
    models.reserve(std::size_t(stack.getNumModels()));
    for (int m = 0; m < stack.getNumModels(); ++m)
        models.push_back(&stack.getModel(m));
    return ofModels(stack, models);
}

MeasurementTable MeasurementTable::ofModels(const Stack& stack, const std::vector<const Model*>& models) {
    MeasurementTable table(modelColumns(stack));
    ModelMorphometry morphometry;
    const StackReconstruction<double> reconstruction(stack);
    for (const Model* model : models) {
        table.addTextCell(table.addText(model->getName()));
        table.addTextCell(table.addText(ModelProperties::toString(model->getProperties().getGeometry())));
        try {
            morphometry.setModel(*model);
            morphometry.run(reconstruction);
            table.addModel(morphometry);
        } catch (const Exception& failure) {
            table.addFailure("model \"" + model->getName() + "\"", failure.getWhat());
        }
    }
    return table;
}

void MeasurementTable::addModel(const ModelMorphometry& morphometry) {
    const unsigned int reason = morphometry.getArea() < 0 ? addText("Not available: " + morphometry.getReason()) : 0;
    const auto addMeasure = [&](double measure, bool available) {
        if (available)
            addNumber(measure);
        else
            addMissing(reason);
    };
    addCount(morphometry.getNumVertices());
    addCount(morphometry.getNumContours());
    for (int axis = 0; axis < 3; ++axis)
        addNumber(morphometry.getIsobarycenter()[axis]);
    const bool hasVolume = !(morphometry.getVolume() < 0);
    addMeasure(morphometry.getArea(), !(morphometry.getArea() < 0));
    addMeasure(morphometry.getVolume(), hasVolume);
    addSurface(morphometry, hasVolume, reason);
    addMeasure(morphometry.getEquivRadius(), hasVolume);
    for (int axis = 0; axis < 3; ++axis)
        addNumber(morphometry.getMainAxesLengths()[axis]);
}

/// The columns about the closed surface.
void MeasurementTable::addSurface(const ModelMorphometry& morphometry, bool hasVolume, unsigned int reason) {
    if (hasVolume)
        addNumber(morphometry.getSlabVolume());
    else
        addMissing(reason);
    const SurfaceCertificate& certificate = morphometry.getCertificate();
    if (!certificate.closed) {
        const unsigned int open = reason != 0 ? reason : addText("Not available: the model has no closed surface");
        for (int column = 0; column < 6; ++column)
            addMissing(open);
        return;
    }
    addNumber(morphometry.getClosedArea());
    addNumber(morphometry.getClosedVolume());
    addTextCell(addText(certificate.isSound() ? "closed" : certificate.toText()));
    addCount(certificate.parts);
    addCount(int(certificate.euler));
    if (certificate.genus() >= 0)
        addCount(int(certificate.genus()));
    else
        addMissing(addText("Not available: " + certificate.toText()));
}

template <class Includes>
MeasurementTable MeasurementTable::ofItemsThat(const Stack& stack, const Includes& includes) {
    MeasurementTable table(itemColumns(stack));
    std::unordered_map<const Model*, unsigned int> models;
    int rank = -1;
    unsigned int sliceText = 0;
    ModelItemGeometry geometry;
    const std::vector<float> positions = stack.getAbsolutePositions();
    forItems(stack, [&](const StackSlice& slice, int s, const ModelItem& item) {
        if (!includes(item))
            return;
        if (rank != s)
            sliceText = table.addText(slice.getName());
        rank = s;
        const Model* model = item.getModel();
        const auto [place, isNew] = models.emplace(model, 0);
        if (isNew && model != nullptr)
            place->second = table.addText(model->getName());
        table.addTextCell(place->second);
        table.addTextCell(sliceText, s);
        try {
            geometry.setModelItem(item);
            geometry.run(positions[std::size_t(s)]);
            table.addItem(geometry);
        } catch (const Exception& failure) {
            table.addFailure("an item of model \"" + table.__texts[place->second] + "\" on slice \"" + slice.getName() +
                                 "\"",
                             failure.getWhat());
        }
    });
    return table;
}

void MeasurementTable::addItem(const ModelItemGeometry& geometry) {
    addCount(geometry.getNumVertices());
    addNumber(geometry.getLength());
    addNumber(std::fabs(geometry.getArea()));
    for (int axis = 0; axis < 3; ++axis)
        addNumber(geometry.getIsobarycenter()[axis]);
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
    const std::vector<float> positions = stack.getAbsolutePositions();
    forItems(stack, [&](const StackSlice& slice, int rank, const ModelItem& item) {
        if (item.getModel() != &model)
            return;
        geometry.setModelItem(item);
        geometry.run(positions[std::size_t(rank)]);
        const unsigned int sliceText = table.addText(slice.getName());
        const Vertices<double>& points = geometry.getVertices();
        for (int v = 0; v < points.getNumVertices(); ++v) {
            table.addTextCell(sliceText, rank);
            table.addNumber(points[v][0]);
            table.addNumber(points[v][1]);
            table.addNumber(geometry.getIsobarycenter()[2]);
        }
    });
    return table;
}

MeasurementTable MeasurementTable::ofSlices(const Stack& stack) {
    MeasurementTable table(sliceColumns(stack));
    std::unordered_map<const Model*, std::size_t> places;
    for (int m = 0; m < stack.getNumModels(); ++m)
        places.emplace(&stack.getModel(m), std::size_t(m));
    std::vector<int> counts(places.size());
    const std::vector<float> positions = stack.getAbsolutePositions();
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
