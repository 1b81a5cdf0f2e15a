#include "ui/fusion/vrlfusionwindowshapetable.h"

#include <algorithm>

#include <QHeaderView>
#include <QPainter>
#include <QPixmap>

namespace vorlen {

VRLFusionWindowShapeTable::VRLFusionWindowShapeTable(QWidget* parent) : QTableWidget(0, 2, parent) {
    setHorizontalHeaderLabels({"Shapes", "Stacks"});
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    horizontalHeader()->setStretchLastSection(true);
    verticalHeader()->hide();
}

void VRLFusionWindowShapeTable::addPainter(VRLFusionShapeViewerPainterGL& painter) {
    const bool sorted = isSortingEnabled();
    setSortingEnabled(false);
    const int row = rowCount();
    setRowCount(row + 1);
    auto* shape = new QTableWidgetItem(QString::fromStdString(painter.getProxy()->getShape()->getName()));
    shape->setData(Qt::UserRole, QVariant::fromValue(&painter));
    setItem(row, 0, shape);
    setItem(row, 1, new QTableWidgetItem(QString::fromStdString(painter.getStackName())));
    updateColorSample(row);
    setSortingEnabled(sorted);
}

void VRLFusionWindowShapeTable::setPainters(const std::vector<VRLFusionShapeViewerPainterGL*>& list) {
    removePainters();
    for (VRLFusionShapeViewerPainterGL* painter : list)
        addPainter(*painter);
}

void VRLFusionWindowShapeTable::removePainters() {
    setSortingEnabled(false);
    setRowCount(0);
}

VRLFusionShapeViewerPainterGL* VRLFusionWindowShapeTable::painterAt(int row) const {
    return item(row, 0)->data(Qt::UserRole).value<VRLFusionShapeViewerPainterGL*>();
}

std::vector<VRLFusionShapeViewerPainterGL*> VRLFusionWindowShapeTable::selectedShapes() const {
    std::vector<int> rows;
    for (const QModelIndex& index : selectionModel()->selectedRows())
        rows.push_back(index.row());
    std::sort(rows.begin(), rows.end());
    std::vector<VRLFusionShapeViewerPainterGL*> result;
    result.reserve(rows.size());
    for (const int row : rows)
        result.push_back(painterAt(row));
    return result;
}

void VRLFusionWindowShapeTable::updateColorSample(int row) {
    const ShapePainterAttributesGL& attributes = painterAt(row)->getProxy()->getAttributes();
    const int side = fontMetrics().height();
    QPixmap sample(side, side);
    sample.fill(Qt::transparent);
    if (attributes.useColor()) {
        const Vector<int>& color = attributes.getColor();
        QPainter painter(&sample);
        painter.setPen(Qt::black);
        painter.setBrush(QColor(color[0], color[1], color[2]));
        painter.drawRect(0, 0, side - 1, side - 1);
    }
    item(row, 0)->setIcon(sample);
}

void VRLFusionWindowShapeTable::updateColorSamples() {
    for (int row = 0; row < rowCount(); ++row)
        updateColorSample(row);
}

} // namespace vorlen
