#include "ui/analysis/vrlmodelanalysiswidget.h"

#include <QTabWidget>
#include <QVBoxLayout>

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
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(__tabs);
}

void VRLModelAnalysisWidget::setStack(const VRLStack& stack) {
    for (VRLModelAnalysisTable* table : __tables)
        table->setStack(stack);
}

void VRLModelAnalysisWidget::copySelection() const {
    currentTable().copySelection();
}

void VRLModelAnalysisWidget::save() const {
    currentTable().save();
}

const VRLModelAnalysisTable& VRLModelAnalysisWidget::currentTable() const {
    return *__tables[std::size_t(__tabs->currentIndex())];
}

} // namespace vorlen
