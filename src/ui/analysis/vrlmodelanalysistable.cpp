#include "ui/analysis/vrlmodelanalysistable.h"

#include <string>
#include <vector>

#include "document/model.h"
#include "editing/stacks/vrlstack.h"
#include "reconstruction/measurementtable.h"
#include "ui/analysis/measurementview.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

VRLModelAnalysisTable::VRLModelAnalysisTable(QWidget* parent) : VRLTableWidget(parent) {
    setSelectionMode(QAbstractItemView::ContiguousSelection);
    setAccessibleName("Measurements of the models");
}

void VRLModelAnalysisTable::setStack(const VRLStack& stack) {
    __stack = &stack;
    refresh();
}

void VRLModelAnalysisTable::setModelGeometry(MPrimitive geometry) {
    __geometry = geometry;
    refresh();
}

void VRLModelAnalysisTable::refresh() {
    if (__stack == nullptr)
        return;
    const WaitCursor wait;
    std::vector<const Model*> models;
    for (int m = 0; m < __stack->getNumModels(); ++m)
        if (__stack->getModel(m).getProperties().getGeometry() == __geometry)
            models.push_back(&__stack->getModel(m));
    const MeasurementTable measurements = MeasurementTable::ofModels(*__stack, models);
    std::vector<std::string> names;
    if (__geometry != noGeometry)
        names = {"Model", "Vertices", "AverageX", "AverageY", "AverageZ"};
    if (__geometry == PolygonPrimitive || __geometry == PolylinePrimitive)
        names.insert(names.end(), {"Contours", "Area"});
    if (__geometry == PolygonPrimitive)
        names.push_back("Volume");
    if (__geometry == PolylinePrimitive)
        names.push_back("PathLength");
    showMeasurements(*this, measurements, measurements.find(names));
}

} // namespace vorlen
