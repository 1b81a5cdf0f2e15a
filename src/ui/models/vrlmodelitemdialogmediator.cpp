#include "ui/models/vrlmodelitemdialogmediator.h"

#include <memory>

#include <QPushButton>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/actions/vrlitemselectionattributesaction.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/models/vrlmodelitemdialog.h"
#include "ui/models/vrlmodelitempropertieseditor.h"
#include "ui/models/vrlmodelnameeditor.h"
#include "ui/models/vrlmodelpropertieseditor.h"

namespace vorlen {

VRLModelItemDialogMediator::VRLModelItemDialogMediator(VRLModelItemDialog& dialog)
    : QObject(&dialog), __dialog(dialog) {
}

void VRLModelItemDialogMediator::setNameEditor(VRLModelNameEditor& editor) {
    __nameEditor = &editor;
    editor.setEnabled(false);
}

void VRLModelItemDialogMediator::setPropertiesEditor(VRLModelPropertiesEditor& editor) {
    __propertiesEditor = &editor;
    editor.setEnabled(false);
}

void VRLModelItemDialogMediator::setItemPropertiesEditor(VRLModelItemPropertiesEditor& editor) {
    __itemPropertiesEditor = &editor;
    connect(&editor, &VRLModelItemPropertiesEditor::modified, this, &VRLModelItemDialogMediator::stateChange);
}

void VRLModelItemDialogMediator::setButtons(QPushButton& defaults, QPushButton& apply, QPushButton& cancel,
                                            QPushButton& ok) {
    __defaultsButton = &defaults;
    __applyButton = &apply;
    __cancelButton = &cancel;
    __okButton = &ok;
    const auto guardedApply = [this](auto operation) {
        return [this, operation] {
            guarded(&__dialog, "The attributes of the item cannot be changed.",
                    [this, operation] { (this->*operation)(); });
        };
    };
    connect(&defaults, &QPushButton::clicked, this, &VRLModelItemDialogMediator::restoreDefaults);
    connect(&apply, &QPushButton::clicked, this, guardedApply(&VRLModelItemDialogMediator::apply));
    connect(&cancel, &QPushButton::clicked, this, &VRLModelItemDialogMediator::cancel);
    connect(&ok, &QPushButton::clicked, this, guardedApply(&VRLModelItemDialogMediator::applyAndClose));
    stateChange();
}

void VRLModelItemDialogMediator::setItem(ModelItem& item) {
    __item = &item;
    const Model* model = item.getModel();
    __nameEditor->setName(model == nullptr ? std::string() : model->getName());
    __propertiesEditor->setProperties(model == nullptr ? ModelProperties() : model->getProperties());
    __itemPropertiesEditor->setEnabled(true);
    __itemPropertiesEditor->setProperties(item.getProperties() + modelProperties());
    stateChange();
}

void VRLModelItemDialogMediator::stateChange() {
    const bool changed = __item != nullptr && !(ownProperties() == __item->getProperties());
    __defaultsButton->setEnabled(__item != nullptr && !(__itemPropertiesEditor->properties() == modelProperties()));
    __applyButton->setEnabled(changed);
    __cancelButton->setEnabled(changed);
}

void VRLModelItemDialogMediator::apply() {
    if (__item == nullptr)
        return;
    const ModelItemProperties own = ownProperties();
    if (!(own == __item->getProperties())) {
        auto action = std::make_unique<VRLItemSelectionAttributesAction>(*__item);
        action->setProperties(own);
        const StackSlice* slice = __item->getSlice();
        auto* stack = slice == nullptr ? nullptr : dynamic_cast<VRLStack*>(slice->getStack());
        if (stack != nullptr) {
            EditStep step(*stack->history());
            step.apply(std::move(action));
            step.commit();
        } else {
            action->apply();
        }
    }
    stateChange();
}

void VRLModelItemDialogMediator::cancel() {
    if (__item != nullptr)
        setItem(*__item);
}

void VRLModelItemDialogMediator::applyAndClose() {
    apply();
    __dialog.accept();
}

void VRLModelItemDialogMediator::restoreDefaults() {
    __itemPropertiesEditor->setProperties(modelProperties());
}

void VRLModelItemDialogMediator::stackCloseEvent(VRLStackCloseEvent& event) {
    if (__item != nullptr && __item->getSlice() != nullptr && __item->getSlice()->getStack() == event.getStack())
        dropItem();
}

void VRLModelItemDialogMediator::modelDeleteEvent(VRLModelDeleteEvent& event) {
    if (__item != nullptr && __item->getModel() == event.getModel())
        dropItem();
}

void VRLModelItemDialogMediator::modelItemDeleteEvent(VRLModelItemDeleteEvent& event) {
    if (event.getItem() == __item)
        dropItem();
}

// Undo brings other attributes, to the item or to its model.
void VRLModelItemDialogMediator::modelItemAttributeEvent(VRLModelItemAttributeEvent& event) {
    if (event.getItem() == __item && __item != nullptr)
        setItem(*__item);
}

void VRLModelItemDialogMediator::modelPropertiesEvent(VRLModelPropertiesEvent& event) {
    if (__item != nullptr && __item->getModel() == event.getModel())
        setItem(*__item);
}

void VRLModelItemDialogMediator::modelItemConvertEvent(VRLModelItemConvertEvent& event) {
    if (event.getItem() == __item && __item != nullptr)
        setItem(*__item);
}

void VRLModelItemDialogMediator::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    if (__item != nullptr && __item->getSlice() == action.getSlice() && action.isInsertion() == action.reverted())
        dropItem();
}

ModelItemProperties VRLModelItemDialogMediator::modelProperties() const {
    const Model* model = __item == nullptr ? nullptr : __item->getModel();
    return model == nullptr ? ModelItemProperties() : model->getItemProperties();
}

/// What makes the item special, as the editor shows it.
ModelItemProperties VRLModelItemDialogMediator::ownProperties() const {
    return __itemPropertiesEditor->properties() - modelProperties();
}

void VRLModelItemDialogMediator::dropItem() {
    __item = nullptr;
    __nameEditor->clear();
    __propertiesEditor->clear();
    __itemPropertiesEditor->clear();
    __itemPropertiesEditor->setEnabled(false);
    stateChange();
}

} // namespace vorlen
