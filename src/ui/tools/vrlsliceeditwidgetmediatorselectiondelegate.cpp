#include "ui/tools/vrlsliceeditwidgetmediatorselectiondelegate.h"

#include <algorithm>
#include <utility>

#include <QApplication>
#include <QMouseEvent>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "document/stacksliceselectioninfo.h"
#include "editing/actions/vrlselectionaction.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/operations/gapfilling.h"
#include "editing/operations/itemoperations.h"
#include "editing/operations/outlineediting.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/modelviews.h"
#include "ui/models/vrlmodelitemdialog.h"
#include "ui/tools/vrlcopydialog.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

bool isPoints(const ModelItem& item) {
    return item.getModel() != nullptr && !item.isConnected();
}

QString modelName(const ModelItem& item) {
    return item.getModel() != nullptr ? QString::fromStdString(item.getModel()->getName()) : QString();
}

} // namespace

std::vector<CopiedItem> VRLSliceEditWidgetMediatorSelectionDelegate::__copied;

VRLSliceEditWidgetMediatorSelectionDelegate::~VRLSliceEditWidgetMediatorSelectionDelegate() {
    delete __rubberBand; // without a word to the canvas, which may be about to go
}

/// What lay under the band is painted anew: over OpenGL its picture would stay.
void VRLSliceEditWidgetMediatorSelectionDelegate::removeBand() {
    if (!__rubberBand)
        return;
    delete __rubberBand;
    canvas().update();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    __pressPosition.reset();
    removeBand();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::abandon() {
    if (isActive())
        deactivate();
}

QString VRLSliceEditWidgetMediatorSelectionDelegate::restingHint(const StackSliceSelectionInfo& selected) const {
    if (selected.emptySelection())
        return "Click: select. Shift+click: select more. Drag: select vertices. Right click: draw and edit.";
    return QString("Delete: remove.%1 Right click: more. Click beside or Escape: deselect.")
        .arg(selected.multipleSelection() ? "" : " E: edit points.");
}

void VRLSliceEditWidgetMediatorSelectionDelegate::selectItemsNearPosition(const Vector<double>& position, bool shift) {
    if (slice() == nullptr)
        return;
    const std::vector<ModelItem*> near = itemsNear(position);
    if (near.empty()) {
        if (!shift && deselectBut(nullptr))
            notifySelection();
        return;
    }
    const std::vector<ModelItem*> selected = slice()->getSelectedItems();
    ModelItem* hit = near.front();
    bool on = !shift || !hit->getSelection().isComplete();
    if (!shift && selected.size() == 1 && selected.front()->getSelection().isComplete())
        if (const auto last = std::find(near.begin(), near.end(), selected.front()); last != near.end()) {
            hit = near[static_cast<std::size_t>(last - near.begin() + 1) % near.size()];
            on = near.size() > 1;
        }
    if (!shift)
        deselectBut(hit);
    if (isPoints(*hit)) {
        toggleVertex(*hit, position, !shift);
    } else {
        ModelItemSelection selection = hit->getSelection();
        selection.set(on);
        select(*hit, selection);
    }
    notifySelection();
}

/// What a click may mean, the nearest first.
std::vector<ModelItem*> VRLSliceEditWidgetMediatorSelectionDelegate::itemsNear(const Vector<double>& position) const {
    std::vector<std::pair<double, ModelItem*>> found;
    const float tolerance = clickTolerance();
    for (int i = 0; i < slice()->getNumItems(); ++i) {
        ModelItem& item = slice()->getItem(i);
        if (!host().modelViews().isTouchable(item))
            continue;
        const bool isHit = isPoints(item) ? item.findNearestVertex(position, tolerance) >= 0
                                          : item.findNearVertex(position, tolerance) >= 0;
        if (isHit)
            found.emplace_back(item.distanceTo(position), &item);
    }
    std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<ModelItem*> items;
    items.reserve(found.size());
    for (const auto& [distance, item] : found)
        items.push_back(item);
    return items;
}

void VRLSliceEditWidgetMediatorSelectionDelegate::toggleVertex(ModelItem& item, const Vector<double>& position,
                                                               bool alone) {
    const int vertex = item.findNearestVertex(position, clickTolerance());
    ModelItemSelection selection = item.getSelection();
    selection.set(!selection.isSelected(vertex), vertex, alone);
    select(item, selection);
}

/// Whether there was anything to deselect.
bool VRLSliceEditWidgetMediatorSelectionDelegate::deselectBut(const ModelItem* item) {
    bool any = false;
    for (ModelItem* each : slice()->getSelectedItems()) {
        if (each == item)
            continue;
        ModelItemSelection selection = each->getSelection();
        selection.set(false);
        select(*each, selection);
        any = true;
    }
    return any;
}

void VRLSliceEditWidgetMediatorSelectionDelegate::selectItemsWithinBox(const BoundingBox<double>& box) {
    if (slice() == nullptr)
        return;
    bool changed = false;
    for (int i = 0; i < slice()->getNumItems(); ++i) {
        ModelItem& item = slice()->getItem(i);
        if (!host().modelViews().isTouchable(item))
            continue;
        ModelItemSelection selection = item.getSelection();
        bool touched = false;
        for (int j = 0; j < item.getSize(); ++j)
            if (box.contains(itemVertex({item.getCoordinate(j, 0), item.getCoordinate(j, 1)}))) {
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
    deselectBut(nullptr);
    notifySelection();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::selectAllModelItems() {
    selectWhole([](const ModelItem&) { return true; });
}

void VRLSliceEditWidgetMediatorSelectionDelegate::selectModelItems(const QString& name) {
    selectWhole([&name](const ModelItem& item) { return item.getModel() != nullptr && modelName(item) == name; });
}

void VRLSliceEditWidgetMediatorSelectionDelegate::convertSelection(const QString& name) {
    if (stack() == nullptr)
        return;
    const int index = stack()->findModel(name.toStdString());
    if (index >= 0 && vorlen::convertSelection(*stack(), *slice(), stack()->getModel(index)))
        notifySelection();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::removeSelection() {
    if (stack() == nullptr)
        return;
    std::vector<std::string> refusals;
    if (deleteSelection(*stack(), *slice(), refusals))
        notifySelection();
    const QPointer<QObject> self(this);
    for (const std::string& refusal : refusals)
        if (self)
            warn("Vertex suppresion", QString::fromStdString(refusal));
}

/// Where nothing is selected, what the slice has of the current model is from here on. False, which is said, when there
/// is nothing.
bool VRLSliceEditWidgetMediatorSelectionDelegate::selectForCopying() {
    if (!slice()->getSelectedItems().empty())
        return true;
    const Model* const model = host().modelViews().getCurrent();
    selectWhole([model](const ModelItem& item) { return item.getModel() == model; });
    if (!slice()->getSelectedItems().empty())
        return true;
    host().setHint(model == nullptr ? QString("Nothing is selected.")
                                    : QString("Nothing is selected, and there is nothing of %1 on this slice to copy.")
                                          .arg(QString::fromStdString(model->getName())));
    return false;
}

/// That of what is selected; where nothing is, the current one. Null, which is said, when there is none.
Model* VRLSliceEditWidgetMediatorSelectionDelegate::modelToFill() {
    if (const ModelItem* const item = slice()->getSelectedItem())
        return item->getModel();
    Model* const model = host().modelViews().getCurrent();
    if (model == nullptr)
        host().setHint("Nothing is selected.");
    else if (host().modelViews().isLocked(*model))
        host().setHint("The current model, " + QString::fromStdString(model->getName()) + ", is locked.");
    else
        return model;
    return nullptr;
}

void VRLSliceEditWidgetMediatorSelectionDelegate::copyToNeighbour(int direction) {
    if (stack() == nullptr)
        return;
    const int rank = stack()->findSlice(*slice()) + direction;
    if (rank < 0 || rank >= stack()->getNumSlices()) {
        host().setHint(direction > 0 ? "This is the last slice." : "This is the first slice.");
        return;
    }
    if (!selectForCopying())
        return;
    StackSlice& target = stack()->getSlice(rank);
    const bool isSecond = outlinedAlready(*stack(), *slice())[std::size_t(rank)];
    const Outcome outcome = vorlen::copySelection(*stack(), *slice(), {&target});
    if (outcome) {
        host().showSlice(target);
        if (isSecond)
            host().setHint("This slice was outlined there already: now there are two. Ctrl+Z takes the copy back.");
    } else
        warnUnlessDone("Copy to slice", outcome);
}

/// To the slices around, but those that have the outline already.
void VRLSliceEditWidgetMediatorSelectionDelegate::copyToSlices() {
    if (stack() == nullptr || !selectForCopying())
        return;
    const std::vector<bool> outlined = outlinedAlready(*stack(), *slice());
    std::vector<VRLCopyDialog::Slice> slices;
    slices.reserve(outlined.size());
    for (int i = 0; i < stack()->getNumSlices(); ++i)
        slices.push_back({QString::fromStdString(stack()->getSlice(i).getName()), outlined[std::size_t(i)]});
    const QPointer<QObject> self(this);
    const QPointer<VRLCopyDialog> dialog =
        new VRLCopyDialog(&canvas(), std::move(slices), stack()->findSlice(*slice()));
    const bool accepted = dialog->exec() == QDialog::Accepted && self && dialog && stack() != nullptr;
    std::vector<StackSlice*> targets;
    if (accepted)
        for (const int rank : dialog->targets())
            if (rank < stack()->getNumSlices())
                targets.push_back(&stack()->getSlice(rank));
    delete dialog;
    if (!accepted)
        return;
    const Outcome outcome = vorlen::copySelection(*stack(), *slice(), targets);
    if (outcome)
        host().setHint(QString("Copied to %1 %2.").arg(targets.size()).arg(targets.size() == 1 ? "slice" : "slices"));
    else
        warnUnlessDone("Copy to slices", outcome);
}

void VRLSliceEditWidgetMediatorSelectionDelegate::copySelection() {
    if (stack() == nullptr)
        return;
    std::vector<CopiedItem> copied = copiedSelection(*stack(), *slice());
    if (copied.empty())
        return;
    __copied = std::move(copied);
    host().setHint("Copied. Ctrl+V puts it on the slice that is shown then.");
}

void VRLSliceEditWidgetMediatorSelectionDelegate::pasteItems() {
    if (stack() == nullptr)
        return;
    const Outcome outcome = vorlen::pasteItems(*stack(), *slice(), __copied);
    if (outcome)
        notifySelection();
    else
        host().setHint(QString::fromStdString(outcome.getReason()) + ".");
}

void VRLSliceEditWidgetMediatorSelectionDelegate::joinSelection() {
    if (stack() == nullptr)
        return;
    const Outcome outcome = vorlen::joinSelection(*stack(), *slice());
    if (outcome)
        notifySelection();
    else
        warnUnlessDone("Join contours", outcome);
}

void VRLSliceEditWidgetMediatorSelectionDelegate::fillGap() {
    Model* const model = stack() != nullptr ? modelToFill() : nullptr;
    if (model == nullptr)
        return;
    const QString name = QString::fromStdString(model->getName());
    const int rank = stack()->findSlice(*slice());
    const int other = otherSideOfGap(*stack(), *model, rank);
    if (other < 0)
        return host().setHint("There is no other outline of " + name + " beyond a gap.");
    const WaitCursor cursor;
    const Outcome outcome = vorlen::fillGap(*stack(), *model, rank, other);
    if (outcome)
        host().setHint(QString("%1 outlined on the slices up to %2.")
                           .arg(name, QString::fromStdString(stack()->getSlice(other).getName())));
    else
        warnUnlessDone("Fill gap", outcome);
}

void VRLSliceEditWidgetMediatorSelectionDelegate::fillAllGaps() {
    Model* const model = stack() != nullptr ? modelToFill() : nullptr;
    if (model == nullptr)
        return;
    const QString name = QString::fromStdString(model->getName());
    const WaitCursor cursor;
    int numFilled = 0;
    const Outcome outcome = vorlen::fillAllGaps(*stack(), *model, numFilled);
    if (outcome)
        host().setHint(QString("%1 outlined on %2 more slices.").arg(name).arg(numFilled));
    else // no more than a word, as for one gap
        host().setHint(QString::fromStdString(outcome.getReason()) + '.');
}

void VRLSliceEditWidgetMediatorSelectionDelegate::decimateSelection() {
    if (stack() == nullptr)
        return;
    std::vector<DecimationReport> reports;
    vorlen::decimateSelection(*stack(), *slice(), reports);
    const QPointer<QObject> self(this);
    for (const DecimationReport& report : reports)
        if (self)
            inform("Contour decimation", QString::fromStdString(report.model) +
                                             QString("\n\nRemoved %1 vertices out of %2 (%3%)")
                                                 .arg(report.numRemoved)
                                                 .arg(report.numVertices)
                                                 .arg(int(100LL * report.numRemoved / report.numVertices)));
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

/// The second of two quick clicks goes on to the next outline, where several are in reach. A single one stays selected.
void VRLSliceEditWidgetMediatorSelectionDelegate::mouseDoubleClickEvent(QMouseEvent* event) {
    if (acts() && slice() != nullptr && itemsNear(vertexAt(event->position())).size() > 1)
        mousePressEvent(event);
    else
        anyEvent(event);
}

void VRLSliceEditWidgetMediatorSelectionDelegate::mousePressEvent(QMouseEvent* event) {
    if (acts() && event->buttons() == Qt::LeftButton) {
        forgetPress();
        const QPoint position = event->position().toPoint();
        if (isOnImage(imagePoint(position))) {
            selectItemsNearPosition(vertexAt(event->position()), (event->modifiers() & Qt::ShiftModifier) != 0);
            __pressPosition = std::make_unique<QPoint>(position);
        }
        event->accept();
        return;
    }
    event->setAccepted(__pressPosition != nullptr || !canvas().isEnabled());
}

/// The release of a press may have gone elsewhere: to a menu, a dialog, or another interaction.
void VRLSliceEditWidgetMediatorSelectionDelegate::forgetPress() {
    removeBand();
    __pressPosition.reset();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & Qt::LeftButton))
        forgetPress();
    if (!acts() || event->buttons() != Qt::LeftButton || !__pressPosition)
        return anyEvent(event);
    const QPoint position = event->position().toPoint();
    if (!__rubberBand) {
        if ((position - *__pressPosition).manhattanLength() < QApplication::startDragDistance()) {
            event->accept(); // a click by a hand that is not quite still
            return;
        }
        __rubberBand = new QRubberBand(QRubberBand::Rectangle, &canvas());
        __rubberBand->setWindowOpacity(0.5);
    }
    __rubberBand->setGeometry(QRect(*__pressPosition, position).normalized());
    __rubberBand->show();
    event->accept();
}

void VRLSliceEditWidgetMediatorSelectionDelegate::mouseReleaseEvent(QMouseEvent* event) {
    if (!isActive() || event->button() != Qt::LeftButton || !__pressPosition)
        return anyEvent(event);
    if (__rubberBand) {
        const QRect band = __rubberBand->geometry();
        removeBand();
        selectItemsWithinBox(BoundingBox<double>(vertexAt(band.topLeft()), vertexAt(band.bottomRight())));
    }
    __pressPosition.reset();
    event->accept();
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
        if (!wanted(item) || !host().modelViews().isTouchable(item))
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
