#include "ui/widgets/vrldecimalbox.h"

#include <QLocale>

namespace vorlen {

VRLDecimalBox::VRLDecimalBox(QWidget* parent) : QDoubleSpinBox(parent) {
    QLocale locale = QLocale::c();
    locale.setNumberOptions(QLocale::OmitGroupSeparator | QLocale::RejectGroupSeparator);
    setLocale(locale);
}

QValidator::State VRLDecimalBox::validate(QString& input, int& position) const {
    input.replace(',', '.');
    return QDoubleSpinBox::validate(input, position);
}

} // namespace vorlen
