#include "ui/analysis/vrlmodelitemanalysistable.h"

#include <QPainter>

#include "document/model.h"
#include "document/modelitem.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"
#include "reconstruction/modelitemgeometry.h"
#include "ui/analysis/analysistext.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

/// Calls visit(slice, place of the slice, item) for the items of the model, slice by slice.
template <class Visitor>
void forItems(const Stack& stack, const Model& model, const Visitor& visit) {
    for (int s = 0; s < stack.getNumSlices(); ++s) {
        const StackSlice& slice = stack.getSlice(s);
        for (int k = 0; k < slice.getNumItems(); ++k)
            if (slice.getItem(k).getModel() == &model)
                visit(slice, s, slice.getItem(k));
    }
}

} // namespace

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
    __model = &model;
    updateHeaders();
    updateContents();
    setAlternateBackgroundColor();
}

void VRLModelItemAnalysisTable::removeModel() {
    __model = nullptr;
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

MPrimitive VRLModelItemAnalysisTable::geometry() const {
    return __model->getProperties().getGeometry();
}

QStringList VRLModelItemAnalysisTable::headers() const {
    const auto header = [this](const char* name, int power = 1) { return headerWithUnit(name, *__stack, power); };
    if (geometry() == PolypointPrimitive)
        return {"Slice", header("X"), header("Y"), header("Z")};
    QStringList headers = {"Slice", "Vertices", header("Length")};
    if (geometry() == PolygonPrimitive)
        headers += header("Area", 2);
    return headers + QStringList{header("AverageX"), header("AverageY"), header("Z")};
}

void VRLModelItemAnalysisTable::updateHeaders() {
    beginContents(headers(), 0);
    setHeaderToolTip(0, "Slice of the item; a click sorts by the order of the stack");
    setHeaderToolTip(columnCount() - 1, "Position of the slice along the cutting axis");
    if (geometry() == PolypointPrimitive) {
        setHeaderToolTip(1, "Position on the slice, along its columns");
        setHeaderToolTip(2, "Position on the slice, along its rows");
        return;
    }
    setHeaderToolTip(2, geometry() == PolygonPrimitive ? "Length of the outline, with the edge that closes it"
                                                       : "Length of the line");
    if (geometry() == PolygonPrimitive)
        setHeaderToolTip(3, "Signed area: the sign tells the direction in which the outline was drawn");
    setHeaderToolTip(columnCount() - 3, "Mean of the vertices on the slice, along its columns");
    setHeaderToolTip(columnCount() - 2, "Mean of the vertices on the slice, along its rows");
}

void VRLModelItemAnalysisTable::updateContents() {
    const WaitCursor wait;
    if (geometry() == PolypointPrimitive)
        updatePoints();
    else
        updateOutlines();
    endContents();
}

void VRLModelItemAnalysisTable::updateOutlines() {
    setRowCount(__model->getNumItems());
    int row = 0;
    ModelItemGeometry analysis;
    forItems(*__stack, *__model, [&](const StackSlice& slice, int rank, const ModelItem& item) {
        const QString name = QString::fromStdString(slice.getName());
        try {
            analysis.setModelItem(item);
            analysis.run();
            fillOutlineRow(row, name, rank, analysis);
        } catch (const Exception& failure) {
            setRankedText(row, 0, name, rank);
            for (int column = 1; column < columnCount(); ++column)
                setNotAvailable(row, column, failureText(failure));
        }
        ++row;
    });
    setRowCount(row);
}

void VRLModelItemAnalysisTable::fillOutlineRow(int row, const QString& slice, int rank,
                                               const ModelItemGeometry& analysis) {
    int column = 0;
    setRankedText(row, column++, slice, rank);
    setNumber(row, column++, analysis.getNumVertices());
    setNumber(row, column++, analysis.getLength());
    if (geometry() == PolygonPrimitive)
        setNumber(row, column++, analysis.getArea());
    for (int axis = 0; axis < 3; ++axis)
        setNumber(row, column++, analysis.getIsobarycenter()[axis]);
}

void VRLModelItemAnalysisTable::updatePoints() {
    int numPoints = 0;
    for (int k = 0; k < __model->getNumItems(); ++k)
        numPoints += __model->getItem(k).getSize();
    setRowCount(numPoints);
    int row = 0;
    ModelItemGeometry analysis;
    forItems(*__stack, *__model, [&](const StackSlice& slice, int rank, const ModelItem& item) {
        analysis.setModelItem(item);
        analysis.run();
        const QString name = QString::fromStdString(slice.getName());
        const Vertices<double>& points = analysis.getVertices();
        for (int v = 0; v < points.getNumVertices(); ++v, ++row) {
            setRankedText(row, 0, name, rank);
            setNumber(row, 1, points[v][0]);
            setNumber(row, 2, points[v][1]);
            setNumber(row, 3, analysis.getIsobarycenter()[2]);
        }
    });
    setRowCount(row);
}

} // namespace vorlen
