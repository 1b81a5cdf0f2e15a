#include "ui/tools/vrlcontourtooldialog.h"

#include <algorithm>

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "ui/widgets/qinputbox.h"

namespace vorlen {

VRLContourToolDialog::VRLContourToolDialog(QWidget* parent, const QString& title) : QDialog(parent) {
    setWindowTitle(title);
    setMinimumWidth(420); // a slider of a hundred pixels would skip most of a thousand vertices
    __layout = new QVBoxLayout(this);
}

QInputBox* VRLContourToolDialog::addBox(const QString& label, int minimum, int maximum, const QString& suffix,
                                        const QString& toolTip) {
    auto* const box = new QInputBox(label, this, minimum, maximum, suffix);
    box->setToolTip(toolTip);
    __layout->addWidget(box);
    // Labels, numbers and suffixes of one width each keep the sliders in line.
    box->findChild<QSpinBox*>()->setMinimumWidth(80);
    for (const int k : {0, 1}) {
        QList<QLabel*> labels;
        int width = 0;
        for (const QInputBox* each : findChildren<QInputBox*>()) {
            labels += each->findChildren<QLabel*>()[k];
            width = std::max(width, labels.last()->sizeHint().width());
        }
        for (QLabel* each : labels)
            each->setMinimumWidth(width);
    }
    return box;
}

void VRLContourToolDialog::addWidget(QWidget* widget) {
    __layout->addWidget(widget);
}

void VRLContourToolDialog::setAcceptable(bool acceptable) {
    if (__ok != nullptr)
        __ok->setEnabled(acceptable);
}

void VRLContourToolDialog::addButtons(const QString& cancelTip, const QString& okTip) {
    auto* const cancel = new QPushButton("Cancel", this);
    cancel->setToolTip(cancelTip);
    cancel->setAutoDefault(false);
    __ok = new QPushButton("OK", this);
    __ok->setToolTip(okTip);
    __ok->setDefault(true);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(__ok, &QPushButton::clicked, this, &QDialog::accept);
    auto* const buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cancel);
    buttons->addWidget(__ok);
    buttons->addStretch(1);
    __layout->addSpacing(6);
    __layout->addLayout(buttons);
}

} // namespace vorlen
