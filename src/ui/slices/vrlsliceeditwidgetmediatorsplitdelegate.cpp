#include "ui/slices/vrlsliceeditwidgetmediatorsplitdelegate.h"

#include <algorithm>

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMouseEvent>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/actions/vrlitemdeletionaction.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlactionhistory.h"
#include "shapes/curve.h"
#include "ui/models/guarded.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"

namespace vorlen {

void VRLSliceEditWidgetMediatorSplitDelegate::activate() {
    ModelItem* const item = history() != nullptr ? slice()->getSelectedItem() : nullptr;
    if (isActive() || item == nullptr)
        return;
    VRLSliceEditWidgetMediatorDelegate::activate();
    __item = item;
    canvas().setFocus();
    getMediator().setHint("Drag a line across the contour: split it there. Escape or right click: give up.");
    getMediator().requestLock(true);
    QGuiApplication::setOverrideCursor(Qt::PointingHandCursor);
}

void VRLSliceEditWidgetMediatorSplitDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    QGuiApplication::restoreOverrideCursor();
    canvas().setRubberLine(nullptr);
    __line.reset();
    __item = nullptr;
    getMediator().setRestingHint();
    getMediator().requestLock(false);
}

bool VRLSliceEditWidgetMediatorSplitDelegate::isAbout(const Model& model) const {
    return __item != nullptr && __item->getModel() == &model;
}

bool VRLSliceEditWidgetMediatorSplitDelegate::splitModelItem(ModelItem& item, const Curve<int>& cut) {
    const Curve<int> contour(item.getVertices(), false);
    const std::vector<int> ranks = crossings(contour, cut);
    if (ranks.size() < 2 || ranks.size() % 2 != 0)
        return false;
    const std::vector<Curve<int>> pieces = contour.split(ranks);
    if (std::any_of(pieces.begin(), pieces.end(), [](const Curve<int>& piece) { return piece.getSize() < 3; })) {
        warn("Split contour", "Cannot split the contour there: a piece of less than 3 vertices would remain.\n\n"
                              "Resample the contour to more vertices first, or draw the line elsewhere.");
        return true;
    }
    EditStep step(*history());
    for (const Curve<int>& piece : pieces) {
        auto part = std::make_unique<ModelItem>();
        part->setModel(item.getModel());
        part->setSlice(item.getSlice());
        part->setProperties(item.getProperties());
        part->setVertices(piece);
        auto creation = std::make_unique<VRLItemCreationAction>(*part);
        (void)part.release(); // the document's, or the action's, from here on
        step.apply(std::move(creation));
    }
    step.apply(std::make_unique<VRLItemDeletionAction>(item));
    step.commit();
    return true;
}

std::vector<int> VRLSliceEditWidgetMediatorSplitDelegate::crossings(const Curve<int>& contour, const Curve<int>& cut) {
    const int n = contour.getSize();
    const auto side = [&](int k) {
        const Vector<int>& vertex = contour[k % n];
        const double product = (double(cut[1][0]) - cut[0][0]) * (double(vertex[1]) - cut[0][1]) -
                               (double(cut[1][1]) - cut[0][1]) * (double(vertex[0]) - cut[0][0]);
        return (product > 0) - (product < 0);
    };
    std::vector<int> ranks = contour.intersectionIndexes(cut, 0, 1);
    // Where vertices lie on the line, the edge that leads there stands for the crossing.
    std::erase_if(ranks, [&](int rank) {
        int next = rank + 1;
        while (next < rank + n && side(next) == 0)
            ++next;
        return side(rank) == 0 || side(next) == side(rank);
    });
    return ranks;
}

void VRLSliceEditWidgetMediatorSplitDelegate::mousePressEvent(QMouseEvent* event) {
    if (!acts())
        return anyEvent(event);
    if (event->buttons() == Qt::LeftButton) {
        const QPoint point = canvas().convertToImagePosition(event->position().toPoint());
        __line = std::make_unique<QLine>(point, point);
        canvas().setRubberLine(__line.get());
    }
    event->setAccepted(__line != nullptr);
}

void VRLSliceEditWidgetMediatorSplitDelegate::mouseMoveEvent(QMouseEvent* event) {
    if (!acts() || !__line || event->buttons() != Qt::LeftButton)
        return anyEvent(event);
    __line->setP2(canvas().convertToImagePosition(event->position().toPoint()));
    canvas().update();
    event->accept();
}

void VRLSliceEditWidgetMediatorSplitDelegate::mouseReleaseEvent(QMouseEvent* event) {
    if (!isActive() || !__line || event->button() != Qt::LeftButton)
        return anyEvent(event);
    event->accept();
    ModelItem& item = *__item;
    Curve<int> cut(2, 2, 2, 2, true);
    for (const int end : {0, 1}) {
        const QPoint point = end == 0 ? __line->p1() : __line->p2();
        cut[end][0] = point.x();
        cut[end][1] = point.y();
    }
    deactivate();
    guarded(&canvas(), "The contour cannot be split.", [&] {
        if (!splitModelItem(item, cut))
            getMediator().setHint("Nothing was split: the line has to enter the contour and to leave it again.");
    });
}

void VRLSliceEditWidgetMediatorSplitDelegate::contextMenuEvent(QContextMenuEvent* event) {
    if (!isActive())
        return anyEvent(event);
    event->accept();
    cancel();
}

} // namespace vorlen
