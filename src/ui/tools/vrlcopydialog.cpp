#include "ui/tools/vrlcopydialog.h"

#include "ui/widgets/qinputbox.h"

namespace vorlen {

VRLCopyDialog::VRLCopyDialog(QWidget* parent, int before, int behind)
    : VRLContourToolDialog(parent, "Copy to slices"),
      __before(addBox("Slices before", 0, before, QString(), "How many slices below this one get a copy")),
      __behind(addBox("Slices after", 0, behind, QString(), "How many slices above this one get a copy")) {
    addButtons("Copies nothing", "Copies what is selected to so many slices");
}

int VRLCopyDialog::getNumBefore() const {
    return __before->getValue();
}

int VRLCopyDialog::getNumBehind() const {
    return __behind->getValue();
}

void VRLCopyDialog::setNumBefore(int number) {
    __before->setValue(number);
}

void VRLCopyDialog::setNumBehind(int number) {
    __behind->setValue(number);
}

} // namespace vorlen
