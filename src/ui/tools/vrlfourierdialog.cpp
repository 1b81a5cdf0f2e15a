#include "ui/tools/vrlfourierdialog.h"

#include <QSignalBlocker>

#include "ui/widgets/qinputbox.h"

namespace vorlen {

VRLFourierDialog::VRLFourierDialog(QWidget* parent) : VRLContourToolDialog(parent, "Contour smoothing") {
    __fidelity = addBox("Fidelity", 1, 100, "%", "How much of the contour's detail is kept; less makes it smoother");
    __descriptors =
        addBox("Descriptors", 1, 100, QString(), "How many Fourier descriptors are kept; fewer make it smoother");
    addButtons();
    connect(__fidelity, &QInputBox::valueChanged, this, &VRLFourierDialog::fidelityChanged);
    connect(__descriptors, &QInputBox::valueChanged, this, &VRLFourierDialog::numDescriptorsChanged);
}

int VRLFourierDialog::getFidelity() const {
    return __fidelity->getValue();
}

int VRLFourierDialog::getNumDescriptors() const {
    return __descriptors->getValue();
}

void VRLFourierDialog::setFidelity(int percent) {
    const QSignalBlocker blocker(this);
    __fidelity->setValue(percent);
}

void VRLFourierDialog::setNumDescriptors(int value, int maximum) {
    const QSignalBlocker blocker(this);
    __descriptors->setMaximum(maximum);
    __descriptors->setValue(value);
}

} // namespace vorlen
