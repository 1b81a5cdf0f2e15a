#include "ui/tools/vrlsliceeditwidgetmediatorsplitdelegate.h"

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMouseEvent>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/operations/splitcontour.h"
#include "ui/models/guarded.h"

namespace vorlen {

void VRLSliceEditWidgetMediatorSplitDelegate::activate() {
    ModelItem* const item = stack() != nullptr ? slice()->getSelectedItem() : nullptr;
    if (isActive() || item == nullptr)
        return;
    VRLSliceEditWidgetMediatorDelegate::activate();
    __item = item;
    canvas().setFocus();
    host().setHint("Drag a line across the contour: split it there. Escape or right click: give up.");
    host().requestLock(true);
    QGuiApplication::setOverrideCursor(Qt::PointingHandCursor);
}

void VRLSliceEditWidgetMediatorSplitDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    QGuiApplication::restoreOverrideCursor();
    host().setRubberLine(nullptr);
    __line.reset();
    __item = nullptr;
    host().setRestingHint();
    host().requestLock(false);
}

bool VRLSliceEditWidgetMediatorSplitDelegate::isAbout(const Model& model) const {
    return __item != nullptr && __item->getModel() == &model;
}

QPointF VRLSliceEditWidgetMediatorSplitDelegate::positionOf(const QMouseEvent& event) const {
    const Vector<double> point = vertexAt(event.position());
    return {point[0], point[1]};
}

void VRLSliceEditWidgetMediatorSplitDelegate::split(ModelItem& item, const QLineF& line) {
    Curve<double> cut(2, 2, 2, 2, true);
    for (const int end : {0, 1}) {
        const QPointF point = end == 0 ? line.p1() : line.p2();
        cut[end][0] = point.x();
        cut[end][1] = point.y();
    }
    if (stack() == nullptr)
        return;
    const bool cuts = isSplitBy(item, cut);
    const Outcome outcome = splitContour(*stack(), item, cut);
    if (cuts)
        warnUnlessDone("Split contour", outcome);
    else
        host().setHint(QString::fromStdString(outcome.getReason()));
}

/// Two quick presses are two.
void VRLSliceEditWidgetMediatorSplitDelegate::mouseDoubleClickEvent(QMouseEvent* event) {
    mousePressEvent(event);
}

void VRLSliceEditWidgetMediatorSplitDelegate::mousePressEvent(QMouseEvent* event) {
    if (!acts())
        return anyEvent(event);
    if (event->buttons() == Qt::LeftButton) {
        const QPointF point = positionOf(*event);
        __line = std::make_unique<QLineF>(point, point);
        host().setRubberLine(__line.get());
    }
    event->setAccepted(__line != nullptr);
}

void VRLSliceEditWidgetMediatorSplitDelegate::mouseMoveEvent(QMouseEvent* event) {
    if (!acts() || !__line || event->buttons() != Qt::LeftButton)
        return anyEvent(event);
    __line->setP2(positionOf(*event));
    canvas().update();
    event->accept();
}

void VRLSliceEditWidgetMediatorSplitDelegate::mouseReleaseEvent(QMouseEvent* event) {
    if (!isActive() || !__line || event->button() != Qt::LeftButton)
        return anyEvent(event);
    event->accept();
    ModelItem& item = *__item;
    const QLineF line = *__line;
    deactivate();
    guarded(&canvas(), "The contour cannot be split.", [&] { split(item, line); });
}

void VRLSliceEditWidgetMediatorSplitDelegate::contextMenuEvent(QContextMenuEvent* event) {
    if (!isActive())
        return anyEvent(event);
    event->accept();
    cancel();
}

} // namespace vorlen
