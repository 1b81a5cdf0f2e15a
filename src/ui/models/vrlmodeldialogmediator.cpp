#include "ui/models/vrlmodeldialogmediator.h"

#include <algorithm>
#include <deque>
#include <map>

#include <QMessageBox>
#include <QPushButton>
#include <QSignalBlocker>

#include "document/model.h"
#include "document/modelitem.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/models/vrlmodeldialog.h"
#include "ui/models/vrlmodelitempropertieseditor.h"
#include "ui/models/vrlmodellistwidget.h"
#include "ui/models/vrlmodelnameeditor.h"
#include "ui/models/vrlmodelpropertieseditor.h"
#include "ui/session/vrlconfig.h"

namespace vorlen {

VRLModelDialogMediator::VRLModelDialogMediator(VRLModelDialog& dialog) : QObject(&dialog), __dialog(dialog) {
}

VRLModelDialogMediator::~VRLModelDialogMediator() = default;

void VRLModelDialogMediator::setList(VRLModelListWidget& list) {
    __list = &list;
}

void VRLModelDialogMediator::setEditors(VRLModelNameEditor& name, VRLModelPropertiesEditor& properties,
                                        VRLModelItemPropertiesEditor& itemProperties) {
    __nameEditor = &name;
    __propertiesEditor = &properties;
    __itemPropertiesEditor = &itemProperties;
}

void VRLModelDialogMediator::setButtons(QPushButton& newButton, QPushButton& deleteButton, QPushButton& apply,
                                        QPushButton& cancel) {
    __newButton = &newButton;
    __deleteButton = &deleteButton;
    __applyButton = &apply;
    __cancelButton = &cancel;
}

void VRLModelDialogMediator::initialize() {
    connect(__list, &QListWidget::itemSelectionChanged, this, &VRLModelDialogMediator::modelSelectionChange);
    connect(__newButton, &QPushButton::clicked, this, [this] { setModeCreation(); });
    connect(__deleteButton, &QPushButton::clicked, this,
            [this] { guarded(&__dialog, "The models cannot be deleted.", [this] { deleteSelectedModels(); }); });
    connect(__applyButton, &QPushButton::clicked, this, &VRLModelDialogMediator::apply);
    connect(__cancelButton, &QPushButton::clicked, this, &VRLModelDialogMediator::cancel);
    connect(__nameEditor, &VRLModelNameEditor::modified, this, &VRLModelDialogMediator::edit);
    connect(__propertiesEditor, &VRLModelPropertiesEditor::modified, this, &VRLModelDialogMediator::edit);
    connect(__itemPropertiesEditor, &VRLModelItemPropertiesEditor::modified, this, &VRLModelDialogMediator::edit);
    setModeStandard();
}

void VRLModelDialogMediator::setStack(VRLStack& stack) {
    __stack = &stack;
    __newModel.reset();
    __list->removeModels();
    {
        const QSignalBlocker blocker(__list);
        __list->addModels(stack);
    }
    setModeStandard();
}

void VRLModelDialogMediator::setModeStandard() {
    __mode = Standard;
    __selectedModels.clear();
    __list->clearSelected();
    __list->setEnabled(true);
    clearEditors();
    enableEditors(false, false, false);
    enableButtons(__stack != nullptr, false, false);
}

void VRLModelDialogMediator::setModeCreation() {
    if (__stack == nullptr)
        return;
    __mode = Creation;
    __selectedModels.clear();
    __list->clearSelected();
    __list->setEnabled(false);
    __newModel = std::make_unique<Model>();
    __newModel->setName("Model " + std::to_string(__stack->getNumModels() + 1));
    __nameEditor->setName(__newModel->getName());
    __propertiesEditor->setProperties(__newModel->getProperties());
    __itemPropertiesEditor->setProperties(__newModel->getItemProperties());
    enableEditors(true, true, true);
    enableButtons(false, false, true);
    __nameEditor->selectName();
}

void VRLModelDialogMediator::setModeSelection() {
    if (__selectedModels.empty())
        return setModeStandard();
    __mode = Standard; // the editors tell what they are set to, which is no edit
    const Model& first = *__selectedModels.front();
    ModelProperties properties = first.getProperties();
    ModelItemProperties itemProperties = first.getItemProperties();
    for (const Model* model : __selectedModels) {
        properties = properties.intersection(model->getProperties());
        itemProperties = itemProperties.intersection(model->getItemProperties());
    }
    const bool single = __selectedModels.size() == 1;
    __nameEditor->setName(single ? first.getName() : std::string());
    __propertiesEditor->setProperties(properties);
    __itemPropertiesEditor->setProperties(itemProperties);
    __list->setEnabled(true);
    enableEditors(single, true, false);
    enableButtons(false, true, false);
    __mode = Selection;
}

void VRLModelDialogMediator::setModeEdition() {
    __mode = Edition;
    __list->setEnabled(false);
    enableButtons(false, false, true);
}

bool VRLModelDialogMediator::checkModelName(const Model& model) const {
    const std::string name = __nameEditor->getName();
    // A name from a file may hold blanks that the editor does not give back: it is no other name. The name that was
    // proposed for a new model is not its own yet, and a model of the stack may have it.
    const bool keepsName = name == QString::fromStdString(model.getName()).simplified().toStdString();
    if (keepsName && &model != __newModel.get())
        return true;
    if (__stack->findModel(name) >= 0) {
        warn("Error: duplicate identifier.\n\n   A model named " + QString::fromStdString(name) +
             " already exists in this stack.\n   Please enter another model name.");
        return false;
    }
    if (name.empty()) {
        warn("Error: missing identifier.\n\n   The model name is empty.\n   Please enter a model name.");
        return false;
    }
    return true;
}

void VRLModelDialogMediator::applyCreation() {
    if (!checkModelName(*__newModel))
        return;
    __newModel->setName(__nameEditor->getName());
    ModelProperties properties = __newModel->getProperties();
    properties.update(__propertiesEditor->properties());
    __newModel->setProperties(properties);
    ModelItemProperties itemProperties = __newModel->getItemProperties();
    itemProperties.update(__itemPropertiesEditor->properties());
    __newModel->setItemProperties(itemProperties);

    Model* model = __newModel.release(); // the stack owns it now
    __stack->addModel(model);
    __stack->setModified(true);
    __list->addModel(model->getName());
    setModeStandard();
    VRLModelCreateEvent event(model);
    notifyEvent(event);
}

void VRLModelDialogMediator::cancelCreation() {
    __newModel.reset();
    setModeStandard();
}

void VRLModelDialogMediator::applyEdition() {
    if (__selectedModels.size() == 1) {
        Model& model = *__selectedModels.front();
        if (!checkModelName(model))
            return;
        const std::string name = __nameEditor->getName();
        if (name != QString::fromStdString(model.getName()).simplified().toStdString()) {
            model.setName(name);
            const QSignalBlocker blocker(__list);
            const QList<QListWidgetItem*> selected = __list->selectedItems();
            if (selected.size() == 1)
                selected.front()->setText(QString::fromStdString(name));
        }
    }
    const ModelProperties properties = __propertiesEditor->properties();
    const ModelItemProperties itemProperties = __itemPropertiesEditor->properties();
    for (Model* model : __selectedModels) {
        VRLModelPropertiesEvent event(model);
        event.setOldProperties(model->getProperties());
        event.setOldItemProperties(model->getItemProperties());
        ModelProperties newProperties = model->getProperties();
        newProperties.update(properties);
        model->setProperties(newProperties);
        ModelItemProperties newItemProperties = model->getItemProperties();
        newItemProperties.update(itemProperties);
        model->setItemProperties(newItemProperties);
        notifyEvent(event);
        __stack->setModified(true);
    }
    setModeSelection();
}

void VRLModelDialogMediator::cancelEdition() {
    setModeSelection();
}

// The n-th line of a name stands for the n-th model of that name.
void VRLModelDialogMediator::modelSelectionChange() {
    __selectedModels.clear();
    std::map<QString, std::deque<Model*>> models;
    for (int i = 0; __stack != nullptr && i < __stack->getNumModels(); ++i)
        models[QString::fromStdString(__stack->getModel(i).getName())].push_back(&__stack->getModel(i));
    for (int row = 0; row < __list->count(); ++row) {
        std::deque<Model*>& namesakes = models[__list->item(row)->text()];
        if (namesakes.empty())
            continue;
        if (__list->item(row)->isSelected())
            __selectedModels.push_back(namesakes.front());
        namesakes.pop_front();
    }
    setModeSelection();
}

void VRLModelDialogMediator::deleteSelectedModels() {
    if (__selectedModels.empty() || !confirmDeletion())
        return;
    try {
        for (Model* model : __selectedModels)
            deleteModel(*model);
    } catch (...) {
        setStack(*__stack); // some of the selected models are gone
        throw;
    }
    __list->removeSelectedModels();
    setModeStandard();
}

void VRLModelDialogMediator::deleteModel(Model& model) {
    for (int i = 0; i < model.getNumItems(); ++i)
        model.getItem(i).detachFromSlice();
    VRLModelDeleteEvent event(&model);
    notifyEvent(event);
    __stack->history()->forget(model);
    const int index = __stack->findModel(model);
    if (index >= 0)
        __stack->deleteModel(index);
    __stack->setModified(true);
}

void VRLModelDialogMediator::stackCloseEvent(VRLStackCloseEvent& event) {
    if (event.getStack() != __stack)
        return;
    __stack = nullptr;
    __newModel.reset();
    __list->removeModels();
    setModeStandard();
}

void VRLModelDialogMediator::modelCreateEvent(VRLModelCreateEvent& event) {
    if (event.getSender() == this || __stack == nullptr || __stack->findModel(*event.getModel()) < 0)
        return;
    const QSignalBlocker blocker(__list);
    __list->addModel(event.getModel()->getName());
}

void VRLModelDialogMediator::modelDeleteEvent(VRLModelDeleteEvent& event) {
    if (event.getSender() == this || __stack == nullptr || __stack->findModel(*event.getModel()) < 0)
        return;
    const QString name = QString::fromStdString(event.getModel()->getName());
    const QList<QListWidgetItem*> rows = __list->findItems(name, Qt::MatchExactly | Qt::MatchCaseSensitive);
    const QSignalBlocker blocker(__list);
    if (!rows.isEmpty())
        delete rows.front();
    if (std::find(__selectedModels.begin(), __selectedModels.end(), event.getModel()) != __selectedModels.end())
        setModeStandard();
}

void VRLModelDialogMediator::apply() {
    guarded(&__dialog, "The models cannot be changed.", [this] {
        if (__mode == Creation)
            applyCreation();
        else
            applyEdition();
    });
}

void VRLModelDialogMediator::cancel() {
    if (__mode == Creation)
        cancelCreation();
    else
        cancelEdition();
}

void VRLModelDialogMediator::edit() {
    if (__mode == Selection)
        setModeEdition();
}

void VRLModelDialogMediator::enableEditors(bool name, bool properties, bool geometry) {
    __nameEditor->setEnabled(name);
    __propertiesEditor->setEnabled(properties);
    __propertiesEditor->setGeometryBoxEnabled(geometry);
    __itemPropertiesEditor->setEnabled(properties);
}

void VRLModelDialogMediator::enableButtons(bool newButton, bool deleteButton, bool applyAndCancel) {
    __newButton->setEnabled(newButton);
    __deleteButton->setEnabled(deleteButton);
    __applyButton->setEnabled(applyAndCancel);
    __cancelButton->setEnabled(applyAndCancel);
}

void VRLModelDialogMediator::clearEditors() {
    __nameEditor->clear();
    __propertiesEditor->clear();
    __itemPropertiesEditor->clear();
}

bool VRLModelDialogMediator::confirmDeletion() const {
    int numItems = 0;
    for (const Model* model : __selectedModels)
        numItems += model->getNumItems();
    if (numItems == 0)
        return true;
    const QString name = QString::fromStdString(__selectedModels.front()->getName());
    const QString subject =
        __selectedModels.size() == 1 ? "Deleting model \"" + name + "\"" : "Deleting models \"" + name + ", etc.\"";
    QMessageBox box(QMessageBox::Warning, "Confirm deletion",
                    subject + " will delete " + QString::number(numItems) + " item(s).", QMessageBox::NoButton,
                    &__dialog);
    box.setTextFormat(Qt::PlainText);
    QPushButton* deletion = box.addButton("Delete", QMessageBox::AcceptRole);
    box.setDefaultButton(deletion);
    box.setEscapeButton(box.addButton("Cancel", QMessageBox::RejectRole));
    box.exec();
    return box.clickedButton() == deletion;
}

void VRLModelDialogMediator::warn(const QString& text) const {
    QMessageBox box(QMessageBox::Warning, appName, text, QMessageBox::Ok, &__dialog);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

} // namespace vorlen
