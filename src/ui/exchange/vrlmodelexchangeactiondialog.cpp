#include "ui/exchange/vrlmodelexchangeactiondialog.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace vorlen {

VRLModelExchangeActionDialog::VRLModelExchangeActionDialog(QWidget* parent) : QDialog(parent) {
    auto* const text = new QLabel("The other stack has a model of this name already.", this);
    auto* const buttons = new QHBoxLayout;
    const auto add = [&](const char* label, const char* tip, auto slot) {
        auto* const button = new QPushButton(label, this);
        button->setToolTip(tip);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, slot);
        buttons->addWidget(button);
        return button;
    };
    using Dialog = VRLModelExchangeActionDialog;
    add("Replace", "The model of the other stack goes, with its contours and points", &Dialog::replaceClicked);
    add("Duplicate", "The copy gets another name", &Dialog::duplicateClicked);
    add("Append", "Contours and points go into the model that is there", &Dialog::appendClicked);
    add("Cancel", "This model is left out", &Dialog::reject)->setDefault(true);
    __forAll = new QCheckBox(" apply for all models", this);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(text);
    layout->addLayout(buttons);
    layout->addWidget(__forAll);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void VRLModelExchangeActionDialog::setModelName(const QString& name) {
    setWindowTitle("Action for " + name);
}

bool VRLModelExchangeActionDialog::getForAll() const {
    return __forAll->isChecked();
}

void VRLModelExchangeActionDialog::replaceClicked() {
    choose(TransferAction::Replace);
}

void VRLModelExchangeActionDialog::duplicateClicked() {
    choose(TransferAction::Duplicate);
}

void VRLModelExchangeActionDialog::appendClicked() {
    choose(TransferAction::Append);
}

void VRLModelExchangeActionDialog::choose(TransferAction choice) {
    __choice = choice;
    accept();
}

} // namespace vorlen
