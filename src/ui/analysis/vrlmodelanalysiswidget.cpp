#include "ui/analysis/vrlmodelanalysiswidget.h"

#include <QMessageBox>
#include <QTabWidget>
#include <QVBoxLayout>

#include "ui/analysis/modeldistanceswidget.h"
#include "ui/analysis/vrlmodelanalysistable.h"

namespace vorlen {

VRLModelAnalysisWidget::VRLModelAnalysisWidget(QWidget* parent) : QWidget(parent) {
    constexpr const char* titles[] = {"Closed surfaces", "Open surfaces", "Point clouds"};
    constexpr MPrimitive geometries[] = {PolygonPrimitive, PolylinePrimitive, PolypointPrimitive};
    __tabs = new QTabWidget(this);
    __tabs->setDocumentMode(true);
    for (std::size_t i = 0; i < __tables.size(); ++i) {
        __tables[i] = new VRLModelAnalysisTable(__tabs);
        __tables[i]->setModelGeometry(geometries[i]);
        __tabs->addTab(__tables[i], titles[i]);
    }
    __distances = new ModelDistancesWidget(__tabs);
    __tabs->setTabToolTip(__tabs->addTab(__distances, "Distances"), "Displays how far the models' surfaces lie apart");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(__tabs);
}

void VRLModelAnalysisWidget::setStack(const VRLStack& stack) {
    for (VRLModelAnalysisTable* table : __tables)
        table->setStack(stack);
    __distances->setStack(stack);
}

void VRLModelAnalysisWidget::copySelection() const {
    currentTable().copySelection();
}

void VRLModelAnalysisWidget::save() const {
    if (currentTable().columnCount() > 0)
        currentTable().save();
    else
        QMessageBox::information(window(), "Save table", "There is nothing to save: choose a model first.");
}

const VRLTableWidget& VRLModelAnalysisWidget::currentTable() const {
    const auto tab = std::size_t(__tabs->currentIndex());
    return tab < __tables.size() ? *__tables[tab] : __distances->getTable();
}

} // namespace vorlen
