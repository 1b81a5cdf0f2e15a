#include "ui/analysis/measurementview.h"

#include "reconstruction/measurementtable.h"
#include "ui/widgets/vrltablewidget.h"

namespace vorlen {

namespace {

QString headerOf(const MeasurementTable::Column& column) {
    const QString name = QString::fromStdString(column.name);
    return column.unit.empty() ? name : name + "\n[" + QString::fromStdString(column.unit) + ']';
}

QString tipOf(const MeasurementTable::Column& column) {
    QString tip = QString::fromStdString(column.description);
    if (!column.estimator.empty())
        tip += " (estimator: " + QString::fromStdString(column.estimator) + ')';
    if (!column.ranked)
        return tip;
    return tip.isEmpty() ? "A click sorts by the order of the stack"
                         : tip + "; a click sorts by the order of the stack";
}

void showCell(VRLTableWidget& widget, int place, const MeasurementTable& measurements, int row, int column) {
    const double value = measurements.getValue(row, column);
    const auto text = [&] { return QString::fromStdString(measurements.getText(row, column)); };
    switch (measurements.getKind(row, column)) {
    case MeasurementTable::CellKind::Text:
        if (measurements.getColumns()[std::size_t(column)].ranked)
            widget.setRankedText(row, place, text(), value);
        else
            widget.setText(row, place, text());
        break;
    case MeasurementTable::CellKind::Count:
        widget.setNumber(row, place, int(value));
        break;
    case MeasurementTable::CellKind::Number:
        widget.setNumber(row, place, value);
        break;
    case MeasurementTable::CellKind::Missing:
        widget.setNotAvailable(row, place, text());
        break;
    }
}

} // namespace

void showMeasurements(VRLTableWidget& widget, const MeasurementTable& measurements, const std::vector<int>& columns) {
    QStringList headers;
    for (const int column : columns)
        headers += headerOf(measurements.getColumns()[std::size_t(column)]);
    widget.beginContents(headers, measurements.getNumRows());
    for (int place = 0; place < int(columns.size()); ++place) {
        const int column = columns[std::size_t(place)];
        const QString tip = tipOf(measurements.getColumns()[std::size_t(column)]);
        if (!tip.isEmpty())
            widget.setHeaderToolTip(place, tip);
        for (int row = 0; row < measurements.getNumRows(); ++row)
            showCell(widget, place, measurements, row, column);
    }
    widget.endContents();
    widget.setAlternateBackgroundColor();
}

} // namespace vorlen
