#include "cli/commands.h"

#include <algorithm>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/consolemonitor.h"
#include "cli/csvtables.h"
#include "cli/jsonwriter.h"
#include "cli/outputformat.h"
#include "cli/stackfile.h"
#include "cli/texttable.h"
#include "document/stack.h"
#include "reconstruction/measurementtable.h"
#include "reconstruction/modeldistances.h"

namespace vorlen {

namespace {

struct Measurements {
    Measurements(const Stack& stack, MeasurementTable::Errors errors, MeasurementTable::Shape shape)
        : models(MeasurementTable::ofModels(stack, errors, shape)), items(MeasurementTable::ofItems(stack)),
          slices(MeasurementTable::ofSlices(stack)) {}

    /// Measures how far the surfaces lie from each other, too, or all from that of the model of a name.
    void addDistances(const Stack& stack, const std::optional<std::string>& from) {
        ModelDistances surfaces(stack);
        ConsoleMonitor monitor;
        surfaces.addMonitor(monitor);
        surfaces.notifyStarted("Distances");
        distances = MeasurementTable::ofDistances(surfaces, from ? placeOf(*from, surfaces) : -1);
        surfaces.notifyFinished("");
        surfaces.removeMonitor(monitor);
        leftOut = surfaces.getLeftOut();
    }

    /// The place behind the last one when the model has no surface: there are no pairs with it.
    static int placeOf(const std::string& model, const ModelDistances& surfaces) {
        int place = 0;
        while (place < surfaces.getNumSurfaces() && surfaces.getName(place) != model)
            ++place;
        return place;
    }

    MeasurementTable models, items, slices;
    std::optional<MeasurementTable> distances;
    std::vector<ModelDistances::LeftOut> leftOut; // of the distances
};

void writeCell(JsonWriter& json, const MeasurementTable& table, int row, int column) {
    switch (table.getKind(row, column)) {
    case MeasurementTable::CellKind::Text:
        return json.value(table.getText(row, column));
    case MeasurementTable::CellKind::Count:
        return json.value(int(table.getValue(row, column)));
    case MeasurementTable::CellKind::Number:
        return json.value(table.getValue(row, column));
    case MeasurementTable::CellKind::Missing:
        return json.null();
    }
}

/// The cells of the first columns, those of one key as a list.
void writeMembers(JsonWriter& json, const MeasurementTable& table, int row, int numColumns) {
    const auto& columns = table.getColumns();
    for (int column = 0, next = 0; column < numColumns; column = next) {
        const std::string& key = columns[std::size_t(column)].key;
        for (next = column + 1; next < numColumns && columns[std::size_t(next)].key == key; ++next)
            ;
        json.key(key);
        if (next == column + 1) {
            writeCell(json, table, row, column);
            continue;
        }
        json.beginArray();
        for (int k = column; k < next; ++k)
            writeCell(json, table, row, k);
        json.endArray();
    }
}

/// How the numbers of a row were come by, by their keys.
void writeEstimators(JsonWriter& json, const MeasurementTable& table, int row) {
    json.key("estimators");
    json.beginObject();
    const auto& columns = table.getColumns();
    for (int column = 0; column < int(columns.size()); ++column) {
        const std::string& key = columns[std::size_t(column)].key;
        const bool isFirst = column == 0 || columns[std::size_t(column) - 1].key != key;
        if (isFirst && !table.getEstimator(row, column).empty())
            json.member(key, table.getEstimator(row, column));
    }
    json.endObject();
}

void writeCertificate(JsonWriter& json, const SurfaceCertificate* certificate) {
    json.key("certificate");
    if (certificate == nullptr)
        return json.null();
    json.beginObject();
    json.key("closed");
    json.value(certificate->closed);
    json.key("oriented");
    json.value(certificate->oriented);
    json.key("outward");
    json.value(certificate->outward);
    json.key("manifold");
    json.value(certificate->manifold);
    json.key("parts");
    json.value(certificate->parts);
    json.key("eulerNumber");
    json.value(int(certificate->euler));
    json.key("genus");
    if (certificate->genus() >= 0)
        json.value(int(certificate->genus()));
    else
        json.null();
    json.key("volume");
    json.value(certificate->volume);
    json.endObject();
}

/// An array of the rows of the table of models.
void writeModels(JsonWriter& json, const MeasurementTable& table) {
    json.key("models");
    json.beginArray();
    for (int row = 0; row < table.getNumRows(); ++row) {
        json.beginObject();
        writeMembers(json, table, row, int(table.getColumns().size()));
        writeEstimators(json, table, row);
        writeCertificate(json, table.getCertificate(row));
        json.endObject();
    }
    json.endArray();
}

/// An array of the table's rows.
void writeRows(JsonWriter& json, const char* key, const MeasurementTable& table) {
    json.key(key);
    json.beginArray();
    for (int row = 0; row < table.getNumRows(); ++row) {
        json.beginObject();
        writeMembers(json, table, row, int(table.getColumns().size()));
        json.endObject();
    }
    json.endArray();
}

/// The same for the slices, whose counts go by the names of the models.
void writeSlices(JsonWriter& json, const MeasurementTable& table) {
    constexpr int firstCount = 2;
    json.key("slices");
    json.beginArray();
    for (int row = 0; row < table.getNumRows(); ++row) {
        json.beginObject();
        writeMembers(json, table, row, firstCount);
        json.key("counts");
        json.beginObject();
        for (int column = firstCount; column < int(table.getColumns().size()); ++column) {
            json.key(table.getColumns()[std::size_t(column)].name);
            writeCell(json, table, row, column);
        }
        json.endObject();
        json.endObject();
    }
    json.endArray();
}

/// The pairs, and the models that have no surface.
void writeDistances(JsonWriter& json, const Measurements& measurements) {
    writeRows(json, "distances", *measurements.distances);
    json.key("withoutSurface");
    json.beginArray();
    for (const ModelDistances::LeftOut& left : measurements.leftOut) {
        json.beginObject();
        json.member("name", left.model);
        json.member("reason", left.reason);
        json.endObject();
    }
    json.endArray();
}

void writeJson(JsonWriter& json, const StackFile& file, const Measurements& measurements) {
    json.beginObject();
    json.member("file", file.getName());
    json.member("stack", file.getStack().getName());
    json.member("unit", file.getStack().getLengthUnit().symbol());
    writeModels(json, measurements.models);
    writeRows(json, "items", measurements.items);
    writeSlices(json, measurements.slices);
    if (measurements.distances)
        writeDistances(json, measurements);
    json.endObject();
}

TextTable textOf(const MeasurementTable& table, bool csv) {
    const auto number = csv ? fullNumber : shortNumber;
    std::vector<std::string> headers;
    for (const MeasurementTable::Column& column : table.getColumns())
        headers.push_back(column.unit.empty() ? column.name : column.name + " [" + column.unit + "]");
    TextTable text(headers);
    const auto cell = [&](int row, int column) -> std::string {
        switch (table.getKind(row, column)) {
        case MeasurementTable::CellKind::Text:
            return table.getText(row, column);
        case MeasurementTable::CellKind::Count:
            return std::to_string(int(table.getValue(row, column)));
        case MeasurementTable::CellKind::Number:
            return number(table.getValue(row, column));
        case MeasurementTable::CellKind::Missing:
            break;
        }
        return "NA";
    };
    for (int row = 0; row < table.getNumRows(); ++row) {
        std::vector<std::string> cells;
        cells.reserve(std::size_t(headers.size()));
        for (int column = 0; column < int(headers.size()); ++column)
            cells.push_back(cell(row, column));
        text.addRow(std::move(cells));
    }
    return text;
}

/// Those of comma-separated values are collected, to be printed behind the last file.
void printTables(const StackFile& file, const Measurements& measurements, OutputFormat format, bool modelsOnly,
                 CsvTables& collected) {
    const bool csv = format == OutputFormat::Csv;
    const auto show = [&](const char* title, const MeasurementTable& table) {
        const TextTable text = textOf(table, csv);
        if (csv)
            return collected.add(title, file, text);
        std::cout << title << '\n';
        text.print(std::cout);
        std::cout << '\n';
    };
    if (!csv)
        std::cout << file.getName() << ": stack \"" << file.getStack().getName() << "\"\n\n";
    show("Models", measurements.models);
    if (!modelsOnly) {
        show("Items", measurements.items);
        show("Slices", measurements.slices);
    }
    if (measurements.distances && measurements.distances->getNumRows() > 0)
        show("Distances between surfaces", *measurements.distances);
}

/// Which models the distances leave out, and why there are none: no failure, but not to be passed over.
void tellLeftOut(const StackFile& file, const Measurements& measurements) {
    if (!measurements.distances)
        return;
    for (const ModelDistances::LeftOut& left : measurements.leftOut)
        std::cerr << "vorlen-cli: " << file.getName() << ": the distances leave model \"" << left.model
                  << "\" out: " << left.reason << '\n';
    if (measurements.distances->getNumRows() == 0)
        std::cerr << "vorlen-cli: " << file.getName()
                  << ": there are no distances, for they take two models that have a surface\n";
}

int reportFailures(const StackFile& file, const Measurements& measurements) {
    int status = ExitGood;
    for (const MeasurementTable* table : {&measurements.models, &measurements.items})
        for (const std::string& failure : table->getFailures()) {
            std::cerr << "vorlen-cli: cannot measure " << file.getName() << ": " << failure << '\n';
            status = ExitProblems;
        }
    return status;
}

} // namespace

int measureCommand(const QStringList& arguments) {
    CommandLine line("measure", "Measures the models, items and slices of stacks.", "STACK.sdf...",
                     "Stack description files (.sdf).");
    line.addFormatOption();
    line.addFlag("models-only", "Print the table of models only; not for json.");
    line.addFlag("error", "Estimate errors by leaving out every second section: how much volume and areas change.");
    line.addFlag("shape",
                 "Measure the form of each model too: boxes, Feret diameters, thickness, skeleton; takes about a "
                 "second for each.");
    line.addFlag("distances", "Measure how far the surfaces of each two models lie from each other: least, mean and "
                              "farthest (Hausdorff); up to about a second for each two.");
    line.addOption({"distances-from"}, "The distances of this model alone to all others, where there are many models.",
                   "model");
    CsvTables collected;
    const auto report = [&](const StackFile& file, OutputFormat format, JsonWriter& json) {
        if (!file.isMeasurable())
            return int(ExitProblems);
        const int order = file.hasOrderedPositions() ? ExitGood : ExitProblems;
        std::optional<std::string> from;
        if (line.isSet("distances-from"))
            from = line.value("distances-from").toStdString();
        if (from && file.getStack().findModel(*from) < 0) {
            std::cerr << "vorlen-cli: " << file.getName() << ": there is no model \"" << *from << "\"\n";
            return int(ExitProblems);
        }
        return guarded("measure " + file.getName(), [&] {
            using Errors = MeasurementTable::Errors;
            using Shape = MeasurementTable::Shape;
            Measurements measurements(file.getStack(), line.isSet("error") ? Errors::Estimated : Errors::Unknown,
                                      line.isSet("shape") ? Shape::Measured : Shape::Unknown);
            if (line.isSet("distances") || from)
                measurements.addDistances(file.getStack(), from);
            if (format == OutputFormat::Json)
                writeJson(json, file, measurements);
            else
                printTables(file, measurements, format, line.isSet("models-only"), collected);
            tellLeftOut(file, measurements);
            return std::max<int>(order, reportFailures(file, measurements));
        });
    };
    const int status = reportOnStacks(line, arguments, report, {.ofDescription = 40, .ofPixel = 120});
    collected.print(std::cout, line.files().size() > 1, true);
    return status;
}

} // namespace vorlen
