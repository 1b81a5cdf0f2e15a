#include "ui/models/vrlmodeldialogmediator.h"

#include <algorithm>
#include <deque>
#include <map>

#include <QMessageBox>
#include <QPushButton>
#include <QSignalBlocker>

#include "document/model.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/models/refusal.h"
#include "ui/models/vrlmodeldialog.h"
#include "ui/models/vrlmodelitempropertieseditor.h"
#include "ui/models/vrlmodellistwidget.h"
#include "ui/models/vrlmodelnameeditor.h"
#include "ui/models/vrlmodelpropertieseditor.h"
#include "ui/session/vrlconfig.h"
#include "ui/widgets/plaintext.h"

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
    connect(
        __newButton, &QPushButton::clicked, this, [this] { setModeCreation(); });
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
    if (vorlen::checkModelName(*__stack, name, &model))
        return true;
    if (name.empty())
        warn("Error: missing identifier.\n\n   The model name is empty.\n   Please enter a model name.");
    else
        warn("Error: duplicate identifier.\n\n   A model named " + QString::fromStdString(name) +
             " already exists in this stack.\n   Please enter another model name.");
    return false;
}

void VRLModelDialogMediator::applyCreation() {
    if (!checkModelName(*__newModel))
        return;
    ModelChange change = enteredChange();
    change.name = __nameEditor->getName();
    if (tellRefusal(&__dialog, createModel(*__stack, change)))
        return;
    __newModel.reset();
    setModeStandard();
}

void VRLModelDialogMediator::cancelCreation() {
    __newModel.reset();
    setModeStandard();
}

ModelChange VRLModelDialogMediator::enteredChange() const {
    ModelChange change;
    change.properties = __propertiesEditor->properties();
    change.itemProperties = __itemPropertiesEditor->properties();
    return change;
}

void VRLModelDialogMediator::applyEdition() {
    ModelChange change = enteredChange();
    if (__selectedModels.size() == 1) {
        const Model& model = *__selectedModels.front();
        if (!checkModelName(model))
            return;
        const std::string name = __nameEditor->getName();
        if (name != QString::fromStdString(model.getName()).simplified().toStdString())
            change.name = name;
    }
    if (!tellRefusal(&__dialog, changeModels(*__stack, __selectedModels, change)))
        setModeSelection();
}

void VRLModelDialogMediator::cancelEdition() {
    setModeSelection();
}

// The n-th line of a name stands for the n-th model of that name.
std::vector<Model*> VRLModelDialogMediator::listedModels(const Model* leaving) const {
    std::map<QString, std::deque<Model*>> models;
    for (int i = 0; __stack != nullptr && i < __stack->getNumModels(); ++i)
        if (&__stack->getModel(i) != leaving)
            models[QString::fromStdString(__stack->getModel(i).getName())].push_back(&__stack->getModel(i));
    std::vector<Model*> listed;
    for (int row = 0; row < __list->count(); ++row) {
        std::deque<Model*>& namesakes = models[__list->item(row)->text()];
        listed.push_back(namesakes.empty() ? nullptr : namesakes.front());
        if (!namesakes.empty())
            namesakes.pop_front();
    }
    return listed;
}

void VRLModelDialogMediator::modelSelectionChange() {
    __selectedModels.clear();
    const std::vector<Model*> models = listedModels();
    for (int row = 0; row < __list->count(); ++row) {
        Model* const model = models[static_cast<std::size_t>(row)];
        if (model != nullptr && __list->item(row)->isSelected())
            __selectedModels.push_back(model);
    }
    setModeSelection();
}

/// Lists the models of the stack anew, but for one that is about to go, and selects those that were selected.
void VRLModelDialogMediator::listModels(const Model* leaving) {
    const QSignalBlocker blocker(__list);
    __list->removeModels();
    for (int i = 0; i < __stack->getNumModels(); ++i)
        if (&__stack->getModel(i) != leaving)
            __list->addModel(__stack->getModel(i).getName());
    const std::vector<Model*> models = listedModels(leaving);
    for (int row = 0; row < __list->count(); ++row)
        if (std::find(__selectedModels.begin(), __selectedModels.end(), models[static_cast<std::size_t>(row)]) !=
            __selectedModels.end())
            __list->item(row)->setSelected(true);
}

void VRLModelDialogMediator::deleteSelectedModels() {
    if (__selectedModels.empty() || !confirmDeletion())
        return;
    const std::vector<Model*> models = __selectedModels; // the events empty the selection
    if (!tellRefusal(&__dialog, deleteModels(*__stack, models)))
        setModeStandard();
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
    if (__stack != nullptr && __stack->findModel(*event.getModel()) >= 0)
        listModels();
}

// The model is still in its stack.
void VRLModelDialogMediator::modelDeleteEvent(VRLModelDeleteEvent& event) {
    if (__stack == nullptr || __stack->findModel(*event.getModel()) < 0)
        return;
    const bool selected = std::erase(__selectedModels, event.getModel()) > 0;
    listModels(event.getModel());
    if (selected)
        setModeStandard();
}

// A model may have another name now. What is being entered stays until it is applied or given up.
void VRLModelDialogMediator::modelPropertiesEvent(VRLModelPropertiesEvent& event) {
    if (__stack == nullptr || __stack->findModel(*event.getModel()) < 0)
        return;
    listModels();
    if (__mode == Selection)
        setModeSelection();
}

void VRLModelDialogMediator::apply() {
    guarded(
        &__dialog, "The models cannot be changed.",
        [this] {
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
    PlainMessageBox box(QMessageBox::Warning, "Confirm deletion",
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
    PlainMessageBox box(QMessageBox::Warning, appName, text, QMessageBox::Ok, &__dialog);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

} // namespace vorlen
