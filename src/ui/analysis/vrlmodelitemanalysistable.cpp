#include "ui/analysis/vrlmodelitemanalysistable.h"

#include <string>
#include <vector>

#include <QPainter>

#include "document/model.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"
#include "reconstruction/measurementtable.h"
#include "ui/analysis/measurementview.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

VRLModelItemAnalysisTable::VRLModelItemAnalysisTable(QWidget* parent) : VRLTableWidget(parent) {
    setSelectionMode(QAbstractItemView::ContiguousSelection);
    setAccessibleName("Measurements of the items");
}

void VRLModelItemAnalysisTable::setStack(const VRLStack& stack) {
    __stack = &stack;
    removeModel();
}

void VRLModelItemAnalysisTable::setModel(const Model& model) {
    if (__stack == nullptr)
        throw UsageError("void VRLModelItemAnalysisTable::setModel(const Model&)", "No stack has been set");
    const WaitCursor wait;
    const MPrimitive geometry = model.getProperties().getGeometry();
    if (geometry == PolypointPrimitive) {
        const MeasurementTable points = MeasurementTable::ofPoints(*__stack, model);
        showMeasurements(*this, points, points.find({"Slice", "X", "Y", "Z"}));
        return;
    }
    std::vector<std::string> names = {"Slice", "Vertices", "Length", "Area", "AverageX", "AverageY", "Z"};
    if (geometry != PolygonPrimitive)
        std::erase(names, "Area");
    const MeasurementTable items = MeasurementTable::ofItems(*__stack, model);
    showMeasurements(*this, items, items.find(names));
}

void VRLModelItemAnalysisTable::removeModel() {
    beginContents({}, 0);
    endContents();
}

void VRLModelItemAnalysisTable::setHint(const QString& hint) {
    __hint = hint;
    viewport()->update();
}

void VRLModelItemAnalysisTable::paintEvent(QPaintEvent* event) {
    VRLTableWidget::paintEvent(event);
    if (columnCount() > 0 || __hint.isEmpty())
        return;
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(viewport()->rect().adjusted(16, 16, -16, -16), Qt::AlignCenter | Qt::TextWordWrap, __hint);
}

} // namespace vorlen
