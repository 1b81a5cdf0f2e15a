#include "ui/analysis/vrlmodelanalysistable.h"

#include <vector>

#include "document/model.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"
#include "reconstruction/modelmorphometry.h"
#include "ui/analysis/analysistext.h"
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
    updateHeaders();
    updateContents();
    setAlternateBackgroundColor();
}

QStringList VRLModelAnalysisTable::headers() const {
    const auto header = [this](const char* name, int power = 1) { return headerWithUnit(name, *__stack, power); };
    if (__geometry == noGeometry)
        return {};
    QStringList headers = {"Model", "Vertices", header("AverageX"), header("AverageY"), header("AverageZ")};
    if (__geometry != PolypointPrimitive)
        headers += {"Contours", header("Area", 2)};
    if (__geometry == PolygonPrimitive)
        headers += header("Volume", 3);
    return headers;
}

void VRLModelAnalysisTable::updateHeaders() {
    beginContents(headers(), 0);
    for (int column = 2; column < columnCount() && column < 5; ++column)
        setHeaderToolTip(column, "Mean of all vertices, after the registration of the slices");
    if (columnCount() > 6)
        setHeaderToolTip(6, "Area of the surface between the contours of successive slices, without the ends");
    if (columnCount() > 7)
        setHeaderToolTip(7, "Area of the contours of each slice times the distance to the next slice that has some");
}

void VRLModelAnalysisTable::updateContents() {
    const WaitCursor wait;
    std::vector<const Model*> models;
    for (int m = 0; m < __stack->getNumModels(); ++m)
        if (__stack->getModel(m).getProperties().getGeometry() == __geometry)
            models.push_back(&__stack->getModel(m));
    setRowCount(int(models.size()));
    ModelMorphometry morphometry;
    for (int row = 0; row < rowCount(); ++row) {
        const Model& model = *models[std::size_t(row)];
        setText(row, 0, QString::fromStdString(model.getName()));
        try {
            morphometry.setModel(model);
            morphometry.run();
            fillRow(row, morphometry);
        } catch (const Exception& failure) {
            for (int column = 1; column < columnCount(); ++column)
                setNotAvailable(row, column, failureText(failure));
        }
    }
    endContents();
}

void VRLModelAnalysisTable::fillRow(int row, const ModelMorphometry& morphometry) {
    setNumber(row, 1, morphometry.getNumVertices());
    for (int axis = 0; axis < 3; ++axis)
        setNumber(row, 2 + axis, morphometry.getIsobarycenter()[axis]);
    if (__geometry == PolypointPrimitive)
        return;
    setNumber(row, 5, morphometry.getNumContours());
    setMeasure(row, 6, morphometry.getArea());
    if (__geometry == PolygonPrimitive)
        setMeasure(row, 7, morphometry.getVolume());
}

void VRLModelAnalysisTable::setMeasure(int row, int column, double value) {
    if (value < 0)
        setNotAvailable(row, column, "Not available: the model has several contours on a slice");
    else
        setNumber(row, column, value);
}

} // namespace vorlen
