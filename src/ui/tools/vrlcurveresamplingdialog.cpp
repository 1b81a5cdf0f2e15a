#include "ui/tools/vrlcurveresamplingdialog.h"

#include <QSignalBlocker>

#include "ui/widgets/qinputbox.h"

namespace vorlen {

VRLCurveResamplingDialog::VRLCurveResamplingDialog(QWidget* parent, const QString& title, const QString& label)
    : VRLContourToolDialog(parent, title) {
    __box = addBox(label, 0, 100, QString(), "The preview on the image follows this number");
    addButtons();
    connect(__box, &QInputBox::valueChanged, this, &VRLCurveResamplingDialog::numVerticesChanged);
}

int VRLCurveResamplingDialog::getValue() const {
    return __box->getValue();
}

void VRLCurveResamplingDialog::setMinimum(int minimum) {
    const QSignalBlocker blocker(this);
    __box->setMinimum(minimum);
}

void VRLCurveResamplingDialog::setMaximum(int maximum) {
    const QSignalBlocker blocker(this);
    __box->setMaximum(maximum);
}

void VRLCurveResamplingDialog::setValue(int value) {
    const QSignalBlocker blocker(this);
    __box->setValue(value);
}

} // namespace vorlen
