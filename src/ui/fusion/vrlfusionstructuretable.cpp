#include "ui/fusion/vrlfusionstructuretable.h"

#include <algorithm>

#include <QHeaderView>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace vorlen {

namespace {

enum Column { NameColumn, HeightColumn, WidthColumn, ErrorColumn };

QString errorText(float error) {
    return error < 0 ? QString() : QString::number(double(error), 'g', 6);
}

QString sizeText(int size) {
    return size < 0 ? QString("Wait...") : QString::number(size);
}

} // namespace

VRLFusionStructureTable::VRLFusionStructureTable(QWidget* parent) : QTableWidget(0, 4, parent) {
    setHorizontalHeaderLabels({"Name", "Height", "Width", "Error"});
    horizontalHeaderItem(NameColumn)
        ->setToolTip("Checked structures are the references of alignment, registration "
                     "and warping");
    horizontalHeaderItem(HeightColumn)->setToolTip("Levels of the resampled surface");
    horizontalHeaderItem(WidthColumn)->setToolTip("Vertices on each level");
    horizontalHeaderItem(ErrorColumn)
        ->setToolTip("Greatest distance of the surface to its resampling; enter one to "
                     "have the sizes found");
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    horizontalHeader()->setStretchLastSection(true);
    verticalHeader()->hide();
    connect(this, &QTableWidget::cellChanged, this, &VRLFusionStructureTable::processCell);
}

void VRLFusionStructureTable::setStructures(const std::vector<VRLFusionSurfaceStructure<float>>& structures) {
    const QSignalBlocker quiet(this);
    __structures = structures;
    setRowCount(0);
    setRowCount(int(__structures.size()));
    for (int row = 0; row < rowCount(); ++row) {
        VRLFusionSurfaceStructure<float>& structure = __structures[std::size_t(row)];
        auto* name = new QTableWidgetItem(QString::fromStdString(structure.getName()));
        name->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        name->setCheckState(structure.isReference() ? Qt::Checked : Qt::Unchecked);
        name->setData(Qt::UserRole, QVariant::fromValue(&structure));
        setItem(row, NameColumn, name);
        for (const int column : {HeightColumn, WidthColumn, ErrorColumn}) {
            setItem(row, column, new QTableWidgetItem);
            item(row, column)->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        }
        showRow(row);
    }
    resizeColumnsToContents();
}

std::vector<VRLFusionSurfaceStructure<float>*> VRLFusionStructureTable::selectedStructures() {
    std::vector<VRLFusionSurfaceStructure<float>*> result;
    for (const QModelIndex& index : selectionModel()->selectedRows())
        result.push_back(&__structures[std::size_t(index.row())]);
    return result;
}

void VRLFusionStructureTable::updateStructure(const VRLFusionSurfaceStructure<float>& structure) {
    const auto found = std::find_if(__structures.begin(), __structures.end(),
                                    [&](const VRLFusionSurfaceStructure<float>& own) { return &own == &structure; });
    if (found != __structures.end())
        showRow(int(found - __structures.begin()));
}

void VRLFusionStructureTable::write(int row, int column, const QString& text) {
    const QSignalBlocker quiet(this);
    item(row, column)->setText(text);
}

void VRLFusionStructureTable::showRow(int row) {
    const VRLFusionSurfaceStructure<float>& structure = __structures[std::size_t(row)];
    write(row, HeightColumn, sizeText(structure.getResamplingHeight()));
    write(row, WidthColumn, sizeText(structure.getResamplingWidth()));
    write(row, ErrorColumn, errorText(structure.getResamplingError()));
    viewport()->update();
}

void VRLFusionStructureTable::processCell(int row, int column) {
    VRLFusionSurfaceStructure<float>& structure = __structures[std::size_t(row)];
    if (column == NameColumn) {
        structure.setReference(item(row, column)->checkState() == Qt::Checked);
        emit referenceFlagChanged(structure);
        return;
    }
    bool good = false;
    if (column == ErrorColumn) {
        const float error = item(row, column)->text().toFloat(&good);
        if (!good || !(error > 0) || error > 1e30f) {
            showRow(row);
            return;
        }
        const VRLFusionSurfaceStructure<float> before = structure;
        structure.setResamplingHeight(-1);
        structure.setResamplingWidth(-1);
        structure.setResamplingError(error);
        showRow(row);
        emit resamplingErrorChanged(structure);
        if (structure.getResamplingHeight() < 0) { // no sizes come within the error
            structure = before;
            showRow(row);
        }
        return;
    }
    const int size = item(row, column)->text().toInt(&good);
    good = good && size >= (column == HeightColumn ? 2 : 3) && size <= 1000;
    if (good) {
        if (column == HeightColumn)
            structure.setResamplingHeight(size);
        else
            structure.setResamplingWidth(size);
        structure.setResamplingError(-1);
    }
    showRow(row);
    if (good)
        emit resamplingValuesChanged(structure);
}

VRLFusionConfigDialogStructurePanel::VRLFusionConfigDialogStructurePanel(QWidget* parent)
    : QGroupBox("Reference structures and resampling", parent) {
    __table = new VRLFusionStructureTable(this);
    __button = new QPushButton("Compute resampling error", this);
    __button->setEnabled(false);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(__table, 1);
    layout->addWidget(__button, 0, Qt::AlignRight);
    connect(__table, &QTableWidget::itemSelectionChanged, this, &VRLFusionConfigDialogStructurePanel::updateButton);
    connect(
        __table, &VRLFusionStructureTable::resamplingValuesChanged, this, [this] { __button->setEnabled(true); });
    connect(__table, &VRLFusionStructureTable::resamplingErrorChanged, this, [this] { __button->setEnabled(false); });
    connect(__button, &QPushButton::clicked, this, [this] {
        emit errorButtonClicked();
        updateButton();
    });
}

void VRLFusionConfigDialogStructurePanel::updateButton() {
    const auto selected = __table->selectedStructures();
    __button->setEnabled(std::any_of(selected.begin(), selected.end(),
                                     [](const auto* structure) { return structure->getResamplingError() < 0; }));
}

} // namespace vorlen
