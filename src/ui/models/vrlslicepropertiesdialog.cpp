#include "ui/models/vrlslicepropertiesdialog.h"

#include <QPushButton>
#include <QSignalBlocker>

#include "document/stack.h"
#include "document/stackslice.h"
#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/models/propertiesdialoglayout.h"
#include "ui/models/refusal.h"
#include "ui/models/vrlstackpropertieseditor.h"

namespace vorlen {

VRLSlicePropertiesDialog::VRLSlicePropertiesDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Slice properties");
    __editor = new VRLStackPropertiesEditor(true, this);
    const PropertiesDialogButtons buttons = layOutPropertiesDialog(*this, *__editor);
    __applyButton = buttons.apply;
    __resetButton = buttons.reset;
    connect(__editor, &VRLStackPropertiesEditor::modified, this, &VRLSlicePropertiesDialog::propertiesChange);
    connect(__applyButton, &QPushButton::clicked, this,
            [this] { guarded(this, "The properties of the slice cannot be changed.", [this] { apply(); }); });
    connect(__resetButton, &QPushButton::clicked, this, &VRLSlicePropertiesDialog::reset);
}

void VRLSlicePropertiesDialog::setSlice(StackSlice& slice) {
    __slice = &slice;
    reset();
}

void VRLSlicePropertiesDialog::propertiesChange() {
    const bool valid = __slice != nullptr && __editor->valid();
    __applyButton->setEnabled(valid);
    __resetButton->setEnabled(valid);
}

void VRLSlicePropertiesDialog::apply() {
    if (__slice == nullptr || !__editor->valid())
        return;
    const std::string name = __editor->getName();
    const bool otherName = !__editor->showsName(__slice->getName());
    const double spacing = __editor->getSliceSpacing();
    const PixelCalibration calibration = __editor->getPixelCalibration();

    SliceChange change;
    if (otherName)
        change.name = name;
    if (spacing != __slice->getRelativePosition())
        change.spacing = spacing;
    if (!(calibration == __slice->getPixelCalibration()))
        change.calibration = calibration;
    if (auto* stack = dynamic_cast<VRLStack*>(__slice->getStack()))
        tellRefusal(this, changeSlice(*stack, *__slice, change));
    reset();
}

void VRLSlicePropertiesDialog::reset() {
    if (__slice != nullptr) {
        const QSignalBlocker blocker(__editor);
        __editor->setName(__slice->getName());
        __editor->setLengthUnit(__slice->getStack() != nullptr ? __slice->getStack()->getLengthUnit()
                                                               : __slice->getPixelCalibration().getLengthUnit());
        __editor->setSliceSpacing(__slice->getRelativePosition());
        __editor->setPixelCalibration(__slice->getPixelCalibration());
    }
    __applyButton->setEnabled(false);
    __resetButton->setEnabled(false);
}

void VRLSlicePropertiesDialog::stackCloseEvent(VRLStackCloseEvent& event) {
    if (__slice == nullptr || __slice->getStack() != event.getStack())
        return;
    __slice = nullptr;
    reject();
}

// Undo brings other values. What is being entered stays until it is applied or given up.
void VRLSlicePropertiesDialog::stackModifyEvent(VRLStackModifyEvent& event) {
    if (__slice != nullptr && __slice->getStack() == event.getStack() && !__applyButton->isEnabled())
        reset();
}

void VRLSlicePropertiesDialog::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    if (__slice == nullptr || action.getSlice() != __slice || action.isInsertion() != action.reverted())
        return;
    __slice = nullptr;
    reject();
}

} // namespace vorlen
