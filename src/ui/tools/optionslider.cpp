#include "ui/tools/optionslider.h"

#include <algorithm>
#include <initializer_list>

#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>

namespace vorlen {

OptionSlider::OptionSlider(const QString& name, const QString& toolTip, QWidget* parent) : QWidget(parent) {
    __name = new QLabel(name, this);
    __slider = new QSlider(Qt::Horizontal, this);
    __field = new QSpinBox(this);
    __field->setKeyboardTracking(false);
    __name->setBuddy(__field);
    for (QWidget* part : std::initializer_list<QWidget*>{__name, __slider, __field})
        part->setToolTip(toolTip);
    for (QWidget* part : std::initializer_list<QWidget*>{__slider, __field})
        part->setAccessibleName(name);
    auto* const layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setVerticalSpacing(2);
    layout->addWidget(__name, 0, 0, 1, 2);
    layout->addWidget(__slider, 1, 0);
    layout->addWidget(__field, 1, 1);
    layout->setColumnStretch(0, 1);
    connect(__slider, &QSlider::valueChanged, this, &OptionSlider::choose);
    connect(__field, &QSpinBox::valueChanged, this, &OptionSlider::choose);
}

void OptionSlider::setRange(int least, int greatest) {
    const QSignalBlocker first(__slider), second(__field);
    __slider->setRange(least, greatest);
    __slider->setPageStep(std::max(1, (greatest - least) / 10));
    __field->setRange(least, greatest);
}

void OptionSlider::setValue(int value) {
    const QSignalBlocker first(__slider), second(__field);
    __slider->setValue(value);
    __field->setValue(value);
}

int OptionSlider::value() const {
    return __field->value();
}

void OptionSlider::choose(int value) {
    setValue(value);
    emit chosen(value);
}

} // namespace vorlen
