#include "ui/slices/vrlsliceeditwidgetmediatorselectiondelegate.h"

#include <QMouseEvent>
#include <QStringList>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "editing/actions/vrlitemdeletionaction.h"
#include "editing/actions/vrlitemselectionconversionaction.h"
#include "editing/actions/vrlitemverticeschangeaction.h"
#include "editing/actions/vrlremoveselectionaction.h"
#include "editing/actions/vrlselectionaction.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlactionhistory.h"
#include "shapes/curvedecimation.h"
#include "ui/models/vrlmodelitemdialog.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"

namespace vorlen {

namespace {

MPrimitive geometryOf(const ModelItem& item) {
    const Model* const model = item.getModel();
    return model != nullptr && model->getProperties().definesGeometry() ? model->getProperties().getGeometry()
                                                                        : PolylinePrimitive;
}

int minimumSize(const ModelItem& item) {
    switch (geometryOf(item)) {
    case PolygonPrimitive:
        return 3;
    case PolypointPrimitive:
        return 1;
    default:
        return 2;
    }
}

QString modelName(const ModelItem& item) {
    return item.getModel() != nullptr ? QString::fromStdString(item.getModel()->getName()) : QString();
}

} // namespace

VRLSliceEditWidgetMediatorSelectionDelegate::VRLSliceEditWidgetMediatorSelectionDelegate(
    VRLSliceEditWidgetMediator& mediator)
    : VRLSliceEditWidgetMediatorDelegate(mediator) {
}

VRLSliceEditWidgetMediatorSelectionDelegate::~VRLSliceEditWidgetMediatorSelectionDelegate() {
    delete __rubberBand;
}

void VRLSliceEditWidgetMediatorSelectionDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    __pressPosition.reset();
    delete __rubberBand;
}

void VRLSliceEditWidgetMediatorSelectionDelegate::selectItemsNearPosition(const Vector<int>& position, bool shift) {
    if (slice() == nullptr)
        return;
    bool changed = false;
    for (int i = 0; i < slice()->getNumItems(); ++i) {
        ModelItem& item = slice()->getItem(i);
        ModelItemSelection selection = item.getSelection();
        int vertex = -1;
        if (isHit(item, vertex, position)) {
            if (geometryOf(item) == PolypointPrimitive)
                selection.set(!selection.isSelected(vertex), vertex, !shift);
            else
                selection.invert();
        } else if (shift || selection.isEmpty()) {
            continue;
        } else {
            selection.set(false);
        }
        select(item, selection);
        changed = true;
    }
    if (changed)
        notifySelection();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::selectItemsWithinBox(const BoundingBox<int>& box) {
    if (slice() == nullptr)
        return;
    bool changed = false;
    for (int i = 0; i < slice()->getNumItems(); ++i) {
        ModelItem& item = slice()->getItem(i);
        ModelItemSelection selection = item.getSelection();
        bool touched = false;
        for (int j = 0; j < item.getSize(); ++j)
            if (box.contains(item.getVertices()[j])) {
                selection.set(!selection.isSelected(j), j, false);
                touched = true;
            }
        if (touched)
            select(item, selection);
        changed = changed || touched;
    }
    if (changed)
        notifySelection();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::cancelSelection() {
    if (slice() == nullptr)
        return;
    for (int i = 0; i < slice()->getNumItems(); ++i) {
        ModelItem& item = slice()->getItem(i);
        if (item.getSelection().isEmpty())
            continue;
        ModelItemSelection selection = item.getSelection();
        selection.set(false);
        select(item, selection);
    }
    notifySelection();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::selectAllModelItems() {
    selectWhole([](const ModelItem&) { return true; });
}

void VRLSliceEditWidgetMediatorSelectionDelegate::selectModelItems(const QString& name) {
    selectWhole([&name](const ModelItem& item) { return item.getModel() != nullptr && modelName(item) == name; });
}

void VRLSliceEditWidgetMediatorSelectionDelegate::convertSelection(const QString& name) {
    if (history() == nullptr)
        return;
    Stack& stack = *slice()->getStack();
    const int index = stack.findModel(name.toStdString());
    if (index < 0)
        return;
    Model& target = stack.getModel(index);
    bool anything = false;
    {
        EditStep step(*history());
        for (int i = slice()->getNumItems() - 1; i >= 0; --i) {
            ModelItem& item = slice()->getItem(i);
            if (item.getSelection().isEmpty() || item.getModel() == &target)
                continue;
            auto action = std::make_unique<VRLItemSelectionConversionAction>(item);
            action->setModel(target);
            step.apply(std::move(action));
        }
        anything = step.getNumActions() > 0;
        step.commit();
    }
    if (anything)
        notifySelection();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::removeSelection() {
    if (history() == nullptr)
        return;
    QStringList refusals;
    bool anything = false;
    {
        EditStep step(*history());
        for (int i = slice()->getNumItems() - 1; i >= 0; --i) {
            ModelItem& item = slice()->getItem(i);
            const ModelItemSelection& selection = item.getSelection();
            if (selection.isEmpty())
                continue;
            if (selection.isComplete()) {
                step.apply(std::make_unique<VRLItemDeletionAction>(item));
                continue;
            }
            const int remaining = item.getSize() - selection.getSize();
            const int minimum = minimumSize(item);
            if (remaining >= minimum)
                step.apply(std::make_unique<VRLRemoveSelectionAction>(item));
            else
                refusals.append(modelName(item) +
                                QString(":\n\nCould not remove selected vertices since this would leave only %1 "
                                        "vertices on the contour (the minimum number of vertices per contour is %2 in "
                                        "this model).")
                                    .arg(remaining)
                                    .arg(minimum));
        }
        anything = step.getNumActions() > 0;
        step.commit();
    }
    if (anything)
        notifySelection();
    const QPointer<QObject> self(this);
    for (const QString& refusal : refusals)
        if (self)
            warn("Vertex suppresion", refusal);
}

void VRLSliceEditWidgetMediatorSelectionDelegate::decimateSelection() {
    if (history() == nullptr)
        return;
    CurveDecimation<int> decimation;
    decimation.setRecursive(true);
    QStringList reports;
    {
        EditStep step(*history());
        for (int i = slice()->getNumItems() - 1; i >= 0; --i) {
            ModelItem& item = slice()->getItem(i);
            const int size = item.getSize();
            if (geometryOf(item) == PolypointPrimitive || item.getSelection().isEmpty())
                continue;
            Vertices<int> vertices = item.getVertices();
            vertices.detach();
            Curve<int> curve(vertices, false);
            decimation.apply(curve);
            const int removed = size - curve.getNumVertices();
            if (removed == 0)
                continue;
            auto action = std::make_unique<VRLItemVerticesChangeAction>(item);
            action->setVertices(curve);
            step.apply(std::move(action));
            reports.append(modelName(item) + QString("\n\nRemoved %1 vertices out of %2 (%3%)")
                                                 .arg(removed)
                                                 .arg(size)
                                                 .arg(int(100LL * removed / size)));
        }
        step.commit();
    }
    const QPointer<QObject> self(this);
    for (const QString& report : reports)
        if (self)
            inform("Contour decimation", report);
}

void VRLSliceEditWidgetMediatorSelectionDelegate::editSelectionProperties() {
    ModelItem* const item = slice() != nullptr ? slice()->getSelectedItem() : nullptr;
    if (item == nullptr)
        return;
    const QPointer<VRLModelItemDialog> dialog = new VRLModelItemDialog(&canvas());
    dialog->setItem(*item);
    dialog->exec();
    delete dialog;
}

void VRLSliceEditWidgetMediatorSelectionDelegate::mousePressEvent(QMouseEvent* event) {
    if (acts() && event->buttons() == Qt::LeftButton) {
        forgetPress();
        const QPoint position = event->position().toPoint();
        const Vector<int> point = imagePoint(position);
        if (isOnImage(point)) {
            selectItemsNearPosition(point, (event->modifiers() & Qt::ShiftModifier) != 0);
            __pressPosition = std::make_unique<QPoint>(position);
        }
        event->accept();
        return;
    }
    event->setAccepted(__pressPosition != nullptr || !canvas().isEnabled());
}

/// The release of a press may have gone elsewhere: to a menu, a dialog, or another interaction.
void VRLSliceEditWidgetMediatorSelectionDelegate::forgetPress() {
    delete __rubberBand;
    __pressPosition.reset();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & Qt::LeftButton))
        forgetPress();
    if (!acts() || event->buttons() != Qt::LeftButton || !__pressPosition)
        return anyEvent(event);
    if (!__rubberBand) {
        __rubberBand = new QRubberBand(QRubberBand::Rectangle, &canvas());
        __rubberBand->setWindowOpacity(0.5);
    }
    __rubberBand->setGeometry(QRect(*__pressPosition, event->position().toPoint()).normalized());
    __rubberBand->show();
    event->accept();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::mouseReleaseEvent(QMouseEvent* event) {
    if (!isActive() || event->button() != Qt::LeftButton || !__pressPosition)
        return anyEvent(event);
    if (__rubberBand) {
        const QRect band = __rubberBand->geometry();
        delete __rubberBand;
        selectItemsWithinBox(BoundingBox<int>(imagePoint(band.topLeft()), imagePoint(band.bottomRight())));
    }
    __pressPosition.reset();
    event->accept();
}

bool VRLSliceEditWidgetMediatorSelectionDelegate::isHit(const ModelItem& item, int& vertex,
                                                        const Vector<int>& position) const {
    vertex = geometryOf(item) == PolypointPrimitive ? item.findNearestVertex(position, clickTolerance())
                                                    : item.findNearVertex(position, clickTolerance());
    return vertex >= 0;
}

void VRLSliceEditWidgetMediatorSelectionDelegate::select(ModelItem& item, const ModelItemSelection& selection) {
    VRLSelectionAction action(item);
    action.setSelection(selection);
    action.apply();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::selectWhole(const std::function<bool(const ModelItem&)>& wanted) {
    if (slice() == nullptr)
        return;
    bool any = false;
    for (int i = 0; i < slice()->getNumItems(); ++i) {
        ModelItem& item = slice()->getItem(i);
        if (!wanted(item))
            continue;
        ModelItemSelection selection = item.getSelection();
        selection.set(true);
        select(item, selection);
        any = true;
    }
    if (any)
        notifySelection();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::notifySelection() {
    StackSliceSelectionInfo info;
    info.setSlice(slice());
    VRLSliceItemSelectionEvent event(slice(), info);
    notifyEvent(event);
}

} // namespace vorlen
