#include "cli/commands.h"

#include <algorithm>
#include <iostream>
#include <limits>

#include "cli/jsonwriter.h"
#include "cli/outputformat.h"
#include "cli/stackfile.h"
#include "cli/texttable.h"
#include "document/model.h"
#include "document/modelitem.h"
#include "document/modelproperties.h"
#include "document/stackslice.h"
#include "numerics/exception.h"
#include "reconstruction/modelitemgeometry.h"
#include "reconstruction/modelmorphometry.h"

namespace vorlen {

namespace {

constexpr double notAvailable = std::numeric_limits<double>::quiet_NaN();

struct ModelRow {
    std::string name, geometry;
    int vertices = 0, contours = 0;
    double barycenter[3], area, volume, equivalentRadius, axes[3];
};

struct ItemRow {
    std::string model, slice;
    int vertices = 0;
    double length, area, barycenter[3];
};

struct SliceRow {
    std::string name;
    double position;
    std::vector<int> counts;
};

struct Measurements {
    std::vector<ModelRow> models;
    std::vector<ItemRow> items;
    std::vector<SliceRow> slices;
};

ModelRow measureModel(const Model& model) {
    ModelMorphometry morphometry;
    morphometry.setModel(model);
    morphometry.run();
    ModelRow row;
    row.name = model.getName();
    row.geometry = ModelProperties::toString(model.getProperties().getGeometry());
    row.vertices = morphometry.getNumVertices();
    row.contours = morphometry.getNumContours();
    for (int k = 0; k < 3; ++k) {
        row.barycenter[k] = morphometry.getIsobarycenter()[k];
        row.axes[k] = morphometry.getMainAxesLengths()[k];
    }
    row.area = morphometry.getArea() < 0 ? notAvailable : morphometry.getArea();
    row.volume = morphometry.getVolume() < 0 ? notAvailable : morphometry.getVolume();
    row.equivalentRadius = morphometry.getVolume() < 0 ? notAvailable : morphometry.getEquivRadius();
    return row;
}

Measurements measure(const Stack& stack) {
    Measurements result;
    for (int i = 0; i < stack.getNumModels(); ++i)
        result.models.push_back(measureModel(stack.getModel(i)));

    ModelItemGeometry geometry;
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const StackSlice& slice = stack.getSlice(i);
        SliceRow row{slice.getName(), slice.getAbsolutePosition(), std::vector<int>(std::size_t(stack.getNumModels()))};
        for (int k = 0; k < slice.getNumItems(); ++k) {
            const ModelItem& item = slice.getItem(k);
            geometry.setModelItem(item);
            geometry.run();
            const Vector<double>& barycenter = geometry.getIsobarycenter();
            result.items.push_back({item.getModel()->getName(),
                                    slice.getName(),
                                    geometry.getNumVertices(),
                                    geometry.getLength(),
                                    geometry.getArea(),
                                    {barycenter[0], barycenter[1], barycenter[2]}});
            const int model = stack.findModel(*item.getModel());
            const bool points = item.getModel()->getProperties().getGeometry() == PolypointPrimitive;
            if (model >= 0)
                row.counts[std::size_t(model)] += points ? item.getSize() : 1;
        }
        result.slices.push_back(row);
    }
    return result;
}

void writeTriple(JsonWriter& json, const char* key, const double* values) {
    json.key(key);
    json.beginArray();
    for (int k = 0; k < 3; ++k)
        json.value(values[k]);
    json.endArray();
}

void writeJson(JsonWriter& json, const StackFile& file, const Measurements& measurements) {
    const Stack& stack = file.getStack();
    json.beginObject();
    json.member("file", file.getName());
    json.member("stack", stack.getName());
    json.member("unit", stack.getLengthUnit().symbol());
    json.key("models");
    json.beginArray();
    for (const ModelRow& row : measurements.models) {
        json.beginObject();
        json.member("name", row.name);
        json.member("geometry", row.geometry);
        json.member("vertices", row.vertices);
        json.member("contours", row.contours);
        writeTriple(json, "barycenter", row.barycenter);
        json.member("area", row.area);
        json.member("volume", row.volume);
        json.member("equivalentRadius", row.equivalentRadius);
        writeTriple(json, "mainAxesLengths", row.axes);
        json.endObject();
    }
    json.endArray();
    json.key("items");
    json.beginArray();
    for (const ItemRow& row : measurements.items) {
        json.beginObject();
        json.member("model", row.model);
        json.member("slice", row.slice);
        json.member("vertices", row.vertices);
        json.member("length", row.length);
        json.member("area", row.area);
        writeTriple(json, "barycenter", row.barycenter);
        json.endObject();
    }
    json.endArray();
    json.key("slices");
    json.beginArray();
    for (const SliceRow& row : measurements.slices) {
        json.beginObject();
        json.member("name", row.name);
        json.member("position", row.position);
        json.key("counts");
        json.beginObject();
        for (std::size_t m = 0; m < row.counts.size(); ++m) {
            json.member(measurements.models[m].name, row.counts[m]);
        }
        json.endObject();
        json.endObject();
    }
    json.endArray();
    json.endObject();
}

void printTables(const StackFile& file, const Measurements& measurements, OutputFormat format, bool modelsOnly) {
    const bool csv = format == OutputFormat::Csv;
    const auto number = csv ? fullNumber : shortNumber;
    const std::string unit = file.getStack().getLengthUnit().symbol();
    const std::string length = " [" + unit + "]", area = " [" + unit + "^2]", volume = " [" + unit + "^3]";
    const auto show = [&](const char* title, const TextTable& table) {
        if (csv)
            table.printCsv(std::cout);
        else
            std::cout << title << '\n', table.print(std::cout);
        std::cout << '\n';
    };

    if (!csv)
        std::cout << file.getName() << ": stack \"" << file.getStack().getName() << "\"\n\n";
    TextTable models({"Model", "Geometry", "Vertices", "Contours", "AverageX" + length, "AverageY" + length,
                      "AverageZ" + length, "Area" + area, "Volume" + volume, "EquivRadius" + length, "Axis1" + length,
                      "Axis2" + length, "Axis3" + length});
    for (const ModelRow& row : measurements.models)
        models.addRow({row.name, row.geometry, std::to_string(row.vertices), std::to_string(row.contours),
                       number(row.barycenter[0]), number(row.barycenter[1]), number(row.barycenter[2]),
                       number(row.area), number(row.volume), number(row.equivalentRadius), number(row.axes[0]),
                       number(row.axes[1]), number(row.axes[2])});
    show("Models", models);
    if (modelsOnly)
        return;

    TextTable items({"Model", "Slice", "Vertices", "Length" + length, "Area" + area, "AverageX" + length,
                     "AverageY" + length, "Z" + length});
    for (const ItemRow& row : measurements.items)
        items.addRow({row.model, row.slice, std::to_string(row.vertices), number(row.length), number(row.area),
                      number(row.barycenter[0]), number(row.barycenter[1]), number(row.barycenter[2])});
    show("Items", items);

    std::vector<std::string> headers = {"Slice", "Position" + length};
    for (const ModelRow& row : measurements.models)
        headers.push_back(row.name);
    TextTable slices(headers);
    for (const SliceRow& row : measurements.slices) {
        std::vector<std::string> cells = {row.name, number(row.position)};
        for (const int count : row.counts)
            cells.push_back(std::to_string(count));
        slices.addRow(cells);
    }
    show("Slices", slices);
}

} // namespace

int measureCommand(const QStringList& arguments) {
    CommandLine line("measure", "Measures the models, items and slices of stacks.", "STACK.sdf...",
                     "Stack description files (.sdf).");
    line.addFormatOption();
    line.addFlag("models-only", "Print the table of models only; not for json.");
    return reportOnStacks(line, arguments, [&line](const StackFile& file, OutputFormat format, JsonWriter& json) {
        return guarded("measure " + file.getName(), [&] {
            const Measurements measurements = measure(file.getStack());
            if (format == OutputFormat::Json)
                writeJson(json, file, measurements);
            else
                printTables(file, measurements, format, line.isSet("models-only"));
            return ExitGood;
        });
    });
}

} // namespace vorlen
