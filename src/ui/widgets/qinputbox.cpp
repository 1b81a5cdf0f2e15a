#include "ui/widgets/qinputbox.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSlider>
#include <QSpinBox>

namespace vorlen {

QInputBox::QInputBox(const QString& label, QWidget* parent, int minimum, int maximum, const QString& suffix)
    : QWidget(parent) {
    auto* text = new QLabel(label, this);
    __slider = new QSlider(Qt::Horizontal, this);
    __slider->setMinimumWidth(100);
    __slider->setRange(minimum, maximum);
    __slider->setFocusPolicy(Qt::NoFocus); // the spin box takes the keys
    __spinBox = new QSpinBox(this);
    __spinBox->setSingleStep(1);
    __spinBox->setRange(minimum, maximum);
    __spinBox->setValue(0);
    __slider->setValue(0);
    __spinBox->setAccessibleName(label);
    text->setBuddy(__spinBox);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(text);
    layout->addWidget(__slider, 1);
    layout->addWidget(__spinBox);
    layout->addWidget(new QLabel(suffix, this));

    connect(__slider, &QSlider::valueChanged, __spinBox, &QSpinBox::setValue);
    connect(__spinBox, &QSpinBox::valueChanged, __slider, &QSlider::setValue);
    connect(__spinBox, &QSpinBox::valueChanged, this, &QInputBox::valueChanged);
}

// The slider follows the spin box, so that a clamped value is told once.
void QInputBox::setMinimum(int minimum) {
    __slider->blockSignals(true);
    __slider->setMinimum(minimum);
    __slider->blockSignals(false);
    __spinBox->setMinimum(minimum);
}

void QInputBox::setMaximum(int maximum) {
    __slider->blockSignals(true);
    __slider->setMaximum(maximum);
    __slider->blockSignals(false);
    __spinBox->setMaximum(maximum);
}

int QInputBox::getValue() const {
    return __spinBox->value();
}

void QInputBox::setValue(int value) {
    __spinBox->setValue(value);
}

} // namespace vorlen
