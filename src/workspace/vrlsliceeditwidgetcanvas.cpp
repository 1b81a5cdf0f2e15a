#include "workspace/vrlsliceeditwidgetcanvas.h"

#include <QPainter>
#include <QPen>

VRLSliceEditWidgetCanvas::VRLSliceEditWidgetCanvas(QWidget* parent) : VRLSliceWidgetCanvas(parent) {
}

void VRLSliceEditWidgetCanvas::clear() {
    __extraItem = nullptr;
    __rubberLine = nullptr;
    VRLSliceWidgetCanvas::clear();
}

void VRLSliceEditWidgetCanvas::setExtraItem(ModelItem* item) {
    __extraItem = item;
    update();
}

void VRLSliceEditWidgetCanvas::setRubberLine(const QLine* line) {
    __rubberLine = line;
    update();
}

void VRLSliceEditWidgetCanvas::paintItems(const StackSlice& slice, QPainter& painter) {
    VRLSliceWidgetCanvas::paintItems(slice, painter);
    if (__extraItem != nullptr)
        paintItem(*__extraItem, painter);
    if (__rubberLine != nullptr) {
        QPen pen(Qt::magenta, 3, Qt::DashLine);
        pen.setCosmetic(true);
        painter.save();
        painter.setPen(pen);
        painter.drawLine(*__rubberLine);
        painter.restore();
    }
}
