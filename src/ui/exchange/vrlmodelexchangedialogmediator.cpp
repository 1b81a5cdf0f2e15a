#include "ui/exchange/vrlmodelexchangedialogmediator.h"

#include <algorithm>
#include <utility>

#include <QCheckBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalBlocker>

#include "document/model.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "progress/progresssubject.h"
#include "ui/exchange/vrlmodelexchangeactiondialog.h"
#include "ui/exchange/vrlmodelexchangedialog.h"
#include "ui/models/guarded.h"
#include "ui/models/refusal.h"
#include "ui/models/vrlmodellistwidget.h"
#include "ui/models/vrlstacklistwidget.h"
#include "ui/session/vrlconfig.h"
#include "ui/widgets/vrlprogressdialog.h"

namespace vorlen {

VRLModelExchangeDialogMediator::VRLModelExchangeDialogMediator(VRLModelExchangeDialog& dialog)
    : QObject(&dialog), __dialog(dialog) {
}

void VRLModelExchangeDialogMediator::setStackLists(VRLStackListWidget& left, VRLStackListWidget& right) {
    __left.stacks = &left;
    __right.stacks = &right;
}

void VRLModelExchangeDialogMediator::setModelLists(VRLModelListWidget& left, VRLModelListWidget& right) {
    __left.models = &left;
    __right.models = &right;
}

void VRLModelExchangeDialogMediator::setLabels(QLabel& left, QLabel& right) {
    __left.label = &left;
    __right.label = &right;
}

void VRLModelExchangeDialogMediator::setButtons(QPushButton& leftToRight, QPushButton& rightToLeft, QPushButton& undo,
                                                QPushButton& redo) {
    __left.send = &leftToRight;
    __right.send = &rightToLeft;
    __undo = &undo;
    __redo = &redo;
}

void VRLModelExchangeDialogMediator::setPlaces(QLabel& notice, QCheckBox& world) {
    __notice = &notice;
    __world = &world;
}

void VRLModelExchangeDialogMediator::initialize() {
    const VRLStackServer& server = VRLStackServer::stackServer;
    for (Side* side : {&__left, &__right}) {
        Side& other = side == &__left ? __right : __left;
        for (int i = 0; i < server.getNumStacks(); ++i)
            side->stacks->addStack(server.getStack(i));
        connect(
            side->stacks, &VRLStackListWidget::selectionChanged, this,
            [this, side, &other] { stackSelectionChange(*side, other); });
        connect(
            side->models, &QListWidget::itemSelectionChanged, this,
            [this, side, &other] { modelSelectionChange(*side, other); });
        connect(side->send, &QPushButton::clicked, this, [this, side, &other] { transfer(*side, other); });
    }
    connect(__undo, &QPushButton::clicked, this, &VRLModelExchangeDialogMediator::undo);
    connect(__redo, &QPushButton::clicked, this, &VRLModelExchangeDialogMediator::redo);
    setStateStandard();
    updateUndo();
}

void VRLModelExchangeDialogMediator::setStateStandard() {
    for (Side* side : {&__left, &__right}) {
        side->models->setEnabled(false);
        side->send->setEnabled(false);
    }
    updatePlaces();
}

void VRLModelExchangeDialogMediator::setStateChoice() {
    for (Side* side : {&__left, &__right}) {
        side->models->clearSelected();
        side->models->setEnabled(true);
        side->send->setEnabled(false);
    }
    updatePlaces();
}

bool VRLModelExchangeDialogMediator::compatibleStacks(const VRLStack* a, const VRLStack* b) const {
    if (a == nullptr || b == nullptr)
        return true;
    const Outcome together = checkTransfer(*a, *b);
    if (together)
        return true;
    if (a != b) {
        const QString kind = a->getNumSlices() != b->getNumSlices() ? "Stack size error:\n\n" : "Image size error.\n\n";
        QMessageBox box(QMessageBox::Warning, appName, kind + QString::fromStdString(together.getReason()),
                        QMessageBox::Ok, &__dialog);
        box.setTextFormat(Qt::PlainText);
        box.exec();
    }
    return false;
}

void VRLModelExchangeDialogMediator::undo() {
    if (__done.empty())
        return;
    VRLStack* const stack = __done.back();
    guarded(&__dialog, "The transfer cannot be taken back.", [&] {
        stack->history()->undo();
        __done.pop_back();
        __undone.push_back(stack);
    });
    updateUndo();
}

void VRLModelExchangeDialogMediator::redo() {
    if (__undone.empty())
        return;
    VRLStack* const stack = __undone.back();
    guarded(&__dialog, "The transfer cannot be done again.", [&] {
        stack->history()->redo();
        __undone.pop_back();
        __done.push_back(stack);
    });
    updateUndo();
}

// The lists of stacks follow by themselves.
void VRLModelExchangeDialogMediator::stackCloseEvent(VRLStackCloseEvent& event) {
    for (auto* transfers : {&__done, &__undone})
        std::erase(*transfers, event.getStack());
    for (Side* side : {&__left, &__right})
        if (side->stack != nullptr && side->stack == event.getStack()) {
            side->stack = nullptr;
            side->models->removeModels();
            side->label->setText("Models:");
            setStateStandard();
        }
    updateUndo();
}

void VRLModelExchangeDialogMediator::stackNameEvent(VRLStackNameEvent& event) {
    for (Side* side : {&__left, &__right})
        if (side->stack != nullptr && side->stack == event.getStack())
            side->label->setText("Models in " + QString::fromStdString(side->stack->getName()));
}

void VRLModelExchangeDialogMediator::modelCreateEvent(VRLModelCreateEvent&) {
    listModelsLater();
}

void VRLModelExchangeDialogMediator::modelDeleteEvent(VRLModelDeleteEvent&) {
    listModelsLater();
}

void VRLModelExchangeDialogMediator::modelPropertiesEvent(VRLModelPropertiesEvent&) {
    listModelsLater();
}

void VRLModelExchangeDialogMediator::stackSelectionChange(Side& side, Side& other) {
    const std::vector<VRLStack*> selected = side.stacks->selectedStacks();
    side.stack = selected.empty() ? nullptr : selected.front();
    side.label->setText("Models:");
    side.models->removeModels();
    if (!compatibleStacks(side.stack, other.stack)) {
        side.stacks->clearSelected();
        side.stack = nullptr;
    }
    if (side.stack == nullptr)
        return setStateStandard();
    side.label->setText("Models in " + QString::fromStdString(side.stack->getName()));
    listModels(side);
    if (other.stack != nullptr)
        setStateChoice();
}

void VRLModelExchangeDialogMediator::modelSelectionChange(Side& side, Side& other) {
    other.models->clearSelected();
    other.send->setEnabled(false);
    side.send->setEnabled(!side.models->selectedModels().empty());
}

void VRLModelExchangeDialogMediator::transfer(Side& from, Side& to) {
    if (from.stack == nullptr || to.stack == nullptr)
        return;
    std::vector<ModelTransfer> models;
    if (!chooseActions(from.models->selectedModels(), *to.stack, models))
        return;
    const TransferPlaces places =
        __world->isEnabled() && __world->isChecked() ? TransferPlaces::World : TransferPlaces::Pixels;
    guarded(&__dialog, "The models cannot be transferred.", [&] {
        ProgressSubject progress;
        VRLProgressDialog shown(&__dialog);
        shown.setWindowTitle("Model transfer");
        shown.setLabelText("Transferring models...");
        shown.setMinimumDuration(500);
        progress.addMonitor(shown);
        const Outcome outcome = transferModels(*to.stack, *from.stack, models, places, progress);
        shown.reset();
        if (progress.isCanceled() || tellRefusal(&__dialog, outcome))
            return;
        __done.push_back(to.stack);
        __undone.clear();
    });
    updateUndo();
}

/// What is to be done with each model; those that are left out are not among them. False when there is none.
bool VRLModelExchangeDialogMediator::chooseActions(const std::vector<std::string>& names, const VRLStack& target,
                                                   std::vector<ModelTransfer>& models) {
    TransferAction action = TransferAction::Skip;
    bool forAll = false;
    for (const std::string& name : names) {
        if (target.findModel(name) < 0) {
            models.push_back({name, TransferAction::Skip});
            continue;
        }
        if (!forAll) {
            VRLModelExchangeActionDialog dialog(&__dialog);
            dialog.setModelName(QString::fromStdString(name));
            dialog.exec();
            action = dialog.getChoice();
            forAll = dialog.getForAll();
        }
        if (action != TransferAction::Skip)
            models.push_back({name, action});
    }
    return !models.empty();
}

void VRLModelExchangeDialogMediator::listModels(Side& side) {
    if (side.stack == nullptr)
        return;
    const std::vector<std::string> selected = side.models->selectedModels();
    const QSignalBlocker blocker(side.models);
    side.models->removeModels();
    side.models->addModels(*side.stack);
    for (int row = 0; row < side.models->count(); ++row) {
        const std::string name = side.models->item(row)->text().toStdString();
        side.models->item(row)->setSelected(std::find(selected.begin(), selected.end(), name) != selected.end());
    }
    if (side.models->selectedModels().empty())
        side.send->setEnabled(false);
}

/// A model that goes is still listed by its stack when that is told.
void VRLModelExchangeDialogMediator::listModelsLater() {
    if (std::exchange(__listPending, true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            __listPending = false;
            listModels(__left);
            listModels(__right);
        },
        Qt::QueuedConnection);
}

void VRLModelExchangeDialogMediator::updatePlaces() {
    const bool both = __left.stack != nullptr && __right.stack != nullptr;
    const std::string difference = both ? placeDifference(*__left.stack, *__right.stack) : std::string();
    __world->setEnabled(!difference.empty());
    if (!both)
        __notice->setText("Choose two stacks of as many slices, with images of the same size.");
    else if (difference.empty())
        __notice->setText("The same pixels of both stacks are the same place in space.");
    else
        __notice->setText("<b>Warning:</b> the stacks differ in " + QString::fromStdString(difference) +
                          ", so that contours that keep their pixels come to lie elsewhere in space.");
}

void VRLModelExchangeDialogMediator::updateUndo() {
    __undo->setEnabled(!__done.empty() && __done.back()->history()->isUndoable());
    __redo->setEnabled(!__undone.empty() && __undone.back()->history()->isRedoable());
}

} // namespace vorlen
