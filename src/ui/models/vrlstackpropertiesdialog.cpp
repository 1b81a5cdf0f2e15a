#include "ui/models/vrlstackpropertiesdialog.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "editing/bus/vrlstackevent.h"
#include "editing/operations/stackoperations.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/models/propertiesdialoglayout.h"
#include "ui/models/refusal.h"
#include "ui/models/slicedefaults.h"
#include "ui/models/vrlstackpropertieseditor.h"
#include "ui/widgets/plaintext.h"

namespace vorlen {

VRLStackPropertiesDialog::VRLStackPropertiesDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Stack properties");
    __editor = new VRLStackPropertiesEditor(false, this);
    const PropertiesDialogButtons buttons = layOutPropertiesDialog(*this, *__editor);
    __applyButton = buttons.apply;
    __resetButton = buttons.reset;
    connect(__editor, &VRLStackPropertiesEditor::modified, this, &VRLStackPropertiesDialog::propertiesChange);
    connect(__applyButton, &QPushButton::clicked, this,
            [this] { guarded(this, "The properties of the stack cannot be changed.", [this] { apply(); }); });
    connect(__resetButton, &QPushButton::clicked, this, &VRLStackPropertiesDialog::reset);
}

void VRLStackPropertiesDialog::setStack(VRLStack& stack) {
    __stack = &stack;
    reset();
}

void VRLStackPropertiesDialog::propertiesChange() {
    const bool valid = __stack != nullptr && __editor->valid();
    __applyButton->setEnabled(valid);
    __resetButton->setEnabled(valid);
}

void VRLStackPropertiesDialog::apply() {
    if (__stack == nullptr || !__editor->valid())
        return;
    const std::string name = __editor->getName();
    const bool otherName = !__editor->showsName(__stack->getName());
    const LengthUnit unit = __editor->getLengthUnit();
    const double spacing = __editor->getSliceSpacing();
    const PixelCalibration calibration = __editor->getPixelCalibration();
    const bool absolutePath = __editor->getAbsoluteImagesPathPolicy();
    const bool otherSpacing = spacing != __stack->getDefaultRelativePosition();
    const bool otherCalibration = !(calibration == __stack->getDefaultPixelCalibration());
    Slices spacingSlices;
    if (otherSpacing)
        spacingSlices = slicesToChange(hasDefaultSpacing, "Changing slice spacing",
                                       ": spacing differs from default stack spacing.", "Set spacing to new value?");
    Slices calibrationSlices;
    if (otherCalibration)
        calibrationSlices = slicesToChange(hasDefaultPixelCalibration, "Changing image calibration",
                                           ": calibration differed from default stack image calibration.",
                                           "Set calibration to new value?");

    StackChange change;
    if (otherName)
        change.name = name;
    if (!(unit == __stack->getLengthUnit()))
        change.unit = unit;
    if (otherSpacing) {
        change.spacing = spacing;
        change.spacingSlices = spacingSlices;
    }
    if (otherCalibration) {
        change.calibration = calibration;
        change.calibrationSlices = calibrationSlices;
    }
    change.absoluteImagesPath = absolutePath;
    tellRefusal(this, changeStack(*__stack, change));
    reset();
}

void VRLStackPropertiesDialog::reset() {
    if (__stack != nullptr) {
        const QSignalBlocker blocker(__editor);
        __editor->setName(__stack->getName());
        __editor->setLengthUnit(__stack->getLengthUnit());
        __editor->setSliceSpacing(__stack->getDefaultRelativePosition());
        __editor->setPixelCalibration(__stack->getDefaultPixelCalibration());
        __editor->setAbsoluteImagesPathPolicy(__stack->getAbsoluteImagesPathPolicy());
    }
    __applyButton->setEnabled(false);
    __resetButton->setEnabled(false);
}

void VRLStackPropertiesDialog::stackCloseEvent(VRLStackCloseEvent& event) {
    if (event.getStack() != __stack)
        return;
    __stack = nullptr;
    reject();
}

// Undo brings other values. What is being entered stays until it is applied or given up.
void VRLStackPropertiesDialog::stackModifyEvent(VRLStackModifyEvent& event) {
    if (event.getStack() == __stack && !__applyButton->isEnabled())
        reset();
}

/// The slices that have the default, and the others that the user wants to change, in order.
VRLStackPropertiesDialog::Slices VRLStackPropertiesDialog::slicesToChange(bool (*hasDefault)(const StackSlice&),
                                                                          const QString& title,
                                                                          const QString& difference,
                                                                          const QString& question) {
    Slices slices;
    bool yesToAll = false;
    for (int i = 0; i < __stack->getNumSlices(); ++i) {
        StackSlice& slice = __stack->getSlice(i);
        if (!yesToAll && !hasDefault(slice)) {
            PlainMessageBox box(QMessageBox::Question, title,
                                "Slice " + QString::fromStdString(slice.getName()) + difference + "\n" + question,
                                QMessageBox::Yes | QMessageBox::YesToAll | QMessageBox::No, this);
            box.setTextFormat(Qt::PlainText);
            box.setDefaultButton(QMessageBox::No);
            box.setEscapeButton(QMessageBox::No);
            const int answer = box.exec();
            if (answer != QMessageBox::Yes && answer != QMessageBox::YesToAll)
                continue;
            yesToAll = answer == QMessageBox::YesToAll;
        }
        slices.push_back(&slice);
    }
    return slices;
}

} // namespace vorlen
