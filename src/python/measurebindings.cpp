#include "document/stack.h"
#include "python/stackhandle.h"
#include "reconstruction/measurementtable.h"
#include "shapes/surfacecertificate.h"

namespace py = pybind11;

namespace vorlen {

namespace {

py::object cellOf(const MeasurementTable& table, int row, int column) {
    switch (table.getKind(row, column)) {
    case MeasurementTable::CellKind::Text:
        return py::str(table.getText(row, column));
    case MeasurementTable::CellKind::Count:
        return py::int_(static_cast<long long>(table.getValue(row, column)));
    case MeasurementTable::CellKind::Number:
        return py::float_(table.getValue(row, column));
    case MeasurementTable::CellKind::Missing:
        break;
    }
    return py::none();
}

/// The cells of the first columns by their keys, those of one key as a list.
py::dict rowOf(const MeasurementTable& table, int row, int numColumns) {
    py::dict entry;
    const auto& columns = table.getColumns();
    for (int column = 0, next = 0; column < numColumns; column = next) {
        const std::string& key = columns[std::size_t(column)].key;
        for (next = column + 1; next < numColumns && columns[std::size_t(next)].key == key; ++next)
            ;
        if (next == column + 1) {
            entry[py::str(key)] = cellOf(table, row, column);
            continue;
        }
        py::list cells;
        for (int k = column; k < next; ++k)
            cells.append(cellOf(table, row, k));
        entry[py::str(key)] = cells;
    }
    return entry;
}

py::list rowsOf(const MeasurementTable& table) {
    py::list rows;
    for (int row = 0; row < table.getNumRows(); ++row)
        rows.append(rowOf(table, row, int(table.getColumns().size())));
    return rows;
}

py::dict estimatorsOf(const MeasurementTable& table, int row) {
    py::dict estimators;
    for (int column = 0; column < int(table.getColumns().size()); ++column)
        if (!table.getEstimator(row, column).empty())
            estimators[py::str(table.getColumns()[std::size_t(column)].key)] = table.getEstimator(row, column);
    return estimators;
}

py::list slicesOf(const MeasurementTable& table) {
    constexpr int firstCount = 2; // columns before those of the models
    py::list rows;
    for (int row = 0; row < table.getNumRows(); ++row) {
        py::dict entry = rowOf(table, row, firstCount);
        py::dict counts;
        for (int column = firstCount; column < int(table.getColumns().size()); ++column)
            counts[py::str(table.getColumns()[std::size_t(column)].name)] = cellOf(table, row, column);
        entry["counts"] = counts;
        rows.append(entry);
    }
    return rows;
}

} // namespace

py::object certificateOf(const SurfaceCertificate* certificate) {
    if (certificate == nullptr)
        return py::none();
    py::dict entry;
    entry["closed"] = certificate->closed;
    entry["oriented"] = certificate->oriented;
    entry["outward"] = certificate->outward;
    entry["manifold"] = certificate->manifold;
    entry["parts"] = certificate->parts;
    entry["eulerNumber"] = certificate->euler;
    entry["genus"] = certificate->genus() >= 0 ? py::object(py::int_(certificate->genus())) : py::none();
    entry["volume"] = certificate->volume;
    return entry;
}

py::dict measurementsOf(StackHandle& handle, bool errors) {
    const Stack& stack = handle.stack();
    requireSizes(stack);
    std::unique_ptr<MeasurementTable> models, items, slices;
    handle.study([&] {
        using Errors = MeasurementTable::Errors;
        models = std::make_unique<MeasurementTable>(
            MeasurementTable::ofModels(stack, errors ? Errors::Estimated : Errors::Unknown));
        items = std::make_unique<MeasurementTable>(MeasurementTable::ofItems(stack));
        slices = std::make_unique<MeasurementTable>(MeasurementTable::ofSlices(stack));
    });
    py::list ofModels = rowsOf(*models);
    for (int row = 0; row < models->getNumRows(); ++row) {
        const py::object entry = ofModels[std::size_t(row)];
        entry["estimators"] = estimatorsOf(*models, row);
        entry["certificate"] = certificateOf(models->getCertificate(row));
    }
    py::list failures;
    for (const MeasurementTable* table : {models.get(), items.get()})
        for (const std::string& failure : table->getFailures())
            failures.append(failure);
    py::dict told;
    told["stack"] = stack.getName();
    told["unit"] = stack.getLengthUnit().symbol();
    told["models"] = ofModels;
    told["items"] = rowsOf(*items);
    told["slices"] = slicesOf(*slices);
    told["failures"] = failures;
    return told;
}

} // namespace vorlen
