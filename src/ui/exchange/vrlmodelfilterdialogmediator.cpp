#include "ui/exchange/vrlmodelfilterdialogmediator.h"

#include <map>
#include <utility>

#include <QButtonGroup>
#include <QLabel>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QTreeWidget>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"
#include "progress/progresssubject.h"
#include "ui/exchange/vrlmodelfilterdialog.h"
#include "ui/models/guarded.h"
#include "ui/models/refusal.h"
#include "ui/models/vrlmodellistwidget.h"
#include "ui/widgets/vrlprogressdialog.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

constexpr int sliceRole = Qt::UserRole;

QString counted(std::size_t n, const char* one, const char* several) {
    return QString("%1 %2").arg(n).arg(n == 1 ? one : several);
}

} // namespace

VRLModelFilterDialogMediator::VRLModelFilterDialogMediator(VRLModelFilterDialog& dialog)
    : QObject(&dialog), __dialog(dialog) {
}

void VRLModelFilterDialogMediator::setLists(VRLModelListWidget& reference, VRLModelListWidget& process,
                                            QTreeWidget& losses) {
    __reference = &reference;
    __process = &process;
    __losses = &losses;
}

void VRLModelFilterDialogMediator::setControls(QButtonGroup& modes, QLabel& summary, QPushButton& apply,
                                               QPushButton& close) {
    __modes = &modes;
    __summary = &summary;
    __apply = &apply;
    __close = &close;
}

void VRLModelFilterDialogMediator::initialize() {
    for (VRLModelListWidget* list : {__reference, __process})
        connect(list, &QListWidget::itemSelectionChanged, this, &VRLModelFilterDialogMediator::modelSelectionChange);
    connect(__modes, &QButtonGroup::idToggled, this, [this](int, bool checked) {
        if (checked)
            plan();
    });
    connect(__apply, &QPushButton::clicked, this, &VRLModelFilterDialogMediator::apply);
    connect(__close, &QPushButton::clicked, this, &VRLModelFilterDialogMediator::cancel);
    connect(__losses, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* row) {
        const int slice = row != nullptr ? row->data(0, sliceRole).toInt() : -1;
        if (__stack != nullptr && slice >= 0 && slice < __stack->getNumSlices())
            emit __dialog.sliceRequested(__stack->getSlice(slice));
    });
    modelSelectionChange();
}

void VRLModelFilterDialogMediator::setStack(VRLStack& stack) {
    __stack = &stack;
    updateModelLists();
}

void VRLModelFilterDialogMediator::updateModelLists() {
    __reference->removeModels();
    __process->removeModels();
    for (int i = 0; __stack != nullptr && i < __stack->getNumModels(); ++i) {
        const Model& model = __stack->getModel(i);
        __process->addModel(model.getName());
        if (model.getProperties().definesGeometry() && model.getProperties().getGeometry() == PolygonPrimitive)
            __reference->addModel(model.getName());
    }
    modelSelectionChange();
}

void VRLModelFilterDialogMediator::modelSelectionChange() {
    __apply->setEnabled(selectedReference() != nullptr && !modelsToProcess().empty());
    plan();
}

void VRLModelFilterDialogMediator::apply() {
    Model* const reference = selectedReference();
    const std::vector<Model*> models = modelsToProcess();
    if (reference == nullptr || models.empty())
        return;
    guarded(&__dialog, "The models cannot be filtered.", [&] {
        const QString removed = summaryText();
        ProgressSubject progress;
        VRLProgressDialog shown(&__dialog);
        shown.setWindowTitle("Filtering models");
        shown.setLabelText("Filtering models...");
        shown.setMinimumDuration(500);
        progress.addMonitor(shown);
        const Outcome outcome = [&] {
            const QScopedValueRollback applying(__applying, true);
            return filterModels(*__stack, *reference, models, mode(), progress);
        }();
        shown.reset();
        if (progress.isCanceled() || tellRefusal(&__dialog, outcome))
            return;
        updateModelLists();
        __summary->setText("Done. " + removed + " Undo in the main window takes it back.");
    });
}

void VRLModelFilterDialogMediator::cancel() {
    __dialog.reject();
}

void VRLModelFilterDialogMediator::stackCloseEvent(VRLStackCloseEvent& event) {
    if (__stack == nullptr || event.getStack() != __stack)
        return;
    __stack = nullptr;
    updateModelLists();
    cancel();
}

// An edit elsewhere may have taken away what the plan names.
void VRLModelFilterDialogMediator::stackModifyEvent(VRLStackModifyEvent& event) {
    if (event.getStack() != __stack || __applying || __stack == nullptr)
        return;
    __plan = FilterPlan();
    emit __dialog.planChanged(__plan);
    planLater();
}

Model* VRLModelFilterDialogMediator::selectedReference() const {
    const std::vector<std::string> names = __reference->selectedModels();
    const int i = __stack == nullptr || names.size() != 1 ? -1 : __stack->findModel(names.front());
    return i < 0 ? nullptr : &__stack->getModel(i);
}

/// The selected ones other than the reference.
std::vector<Model*> VRLModelFilterDialogMediator::modelsToProcess() const {
    std::vector<Model*> models;
    const Model* const reference = selectedReference();
    for (const std::string& name : __process->selectedModels()) {
        const int i = __stack == nullptr ? -1 : __stack->findModel(name);
        if (i >= 0 && &__stack->getModel(i) != reference)
            models.push_back(&__stack->getModel(i));
    }
    return models;
}

FilterMode VRLModelFilterDialogMediator::mode() const {
    return __modes->checkedId() == 0 ? FilterMode::NonIntersectingModels : FilterMode::PointsOutside;
}

void VRLModelFilterDialogMediator::plan() {
    __plan = FilterPlan();
    const Model* const reference = selectedReference();
    const std::vector<Model*> models = modelsToProcess();
    if (reference != nullptr && !models.empty()) {
        const WaitCursor cursor;
        (void)planFilter(*__stack, *reference, models, mode(), __plan); // a refusal leaves nothing to show
    }
    listLosses();
    emit __dialog.planChanged(__plan);
}

void VRLModelFilterDialogMediator::planLater() {
    if (std::exchange(__planPending, true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            __planPending = false;
            plan();
        },
        Qt::QueuedConnection);
}

void VRLModelFilterDialogMediator::listLosses() {
    __losses->clear();
    std::map<const Model*, QTreeWidgetItem*> rows;
    for (const FilterPlan::Share& share : __plan.shares)
        if (share.whole || share.numVertices > 0)
            rows[share.model] = newShareRow(share);
    std::map<std::pair<const Model*, const StackSlice*>, std::pair<int, int>> ofSlices;
    for (const FilterPlan::Loss& loss : __plan.losses) {
        auto& [items, vertices] = ofSlices[{loss.item->getModel(), loss.item->getSlice()}];
        items += loss.isWhole() ? 1 : 0;
        vertices += loss.vertices.getSize();
    }
    for (int s = 0; __stack != nullptr && s < __stack->getNumSlices(); ++s)
        for (const auto& [model, row] : rows) {
            const auto found = ofSlices.find({model, &__stack->getSlice(s)});
            if (found == ofSlices.end())
                continue;
            auto* const slice = new QTreeWidgetItem(row); // the row's
            slice->setText(0, QString::fromStdString(__stack->getSlice(s).getName()));
            slice->setText(1, QString::number(found->second.first));
            slice->setText(2, QString::number(found->second.second));
            slice->setData(0, sliceRole, s);
            for (const int column : {1, 2})
                slice->setTextAlignment(column, Qt::AlignRight);
        }
    __summary->setText(summaryText());
}

QTreeWidgetItem* VRLModelFilterDialogMediator::newShareRow(const FilterPlan::Share& share) {
    auto* const row = new QTreeWidgetItem(__losses); // the list's
    row->setText(0, QString::fromStdString(share.model->getName()) + (share.whole ? " (the whole model)" : ""));
    row->setText(1, QString("%1 of %2").arg(share.numItems).arg(share.model->getNumItems()));
    row->setText(2, QString::number(share.numVertices));
    row->setData(0, sliceRole, -1);
    for (const int column : {1, 2})
        row->setTextAlignment(column, Qt::AlignRight);
    return row;
}

QString VRLModelFilterDialogMediator::summaryText() const {
    if (selectedReference() == nullptr)
        return "Choose a reference model: what lies within its outlines stays.";
    if (modelsToProcess().empty())
        return "Choose models to process.";
    if (__plan.isEmpty())
        return "Nothing is to be removed.";
    const QString vertices = counted(__plan.numVertices(), "vertex", "vertices");
    const QString items = counted(__plan.numItems(), "whole item", "whole items");
    if (__plan.mode == FilterMode::NonIntersectingModels)
        return "To be removed: " + counted(__plan.models.size(), "model", "models") + " with " + items + ", " +
               vertices + " together.";
    return "To be removed: " + vertices + ", " + items + " among them.";
}

} // namespace vorlen
