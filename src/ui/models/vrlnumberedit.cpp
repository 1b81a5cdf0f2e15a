#include "ui/models/vrlnumberedit.h"

#include <cmath>

#include <QEvent>

#include "ui/models/vrlfieldmark.h"

namespace vorlen {

VRLNumberEdit::VRLNumberEdit(QWidget* parent)
    : QLineEdit("1.0", parent), __mark(new VRLFieldMark(*this)), __valueText("1.0") {
    connect(this, &QLineEdit::textChanged, this, &VRLNumberEdit::check);
}

void VRLNumberEdit::setValue(double value) {
    __value = value;
    __valueText = QString::number(value, 'g', 6);
    setText(__valueText);
    check(); // also when signals are blocked, or the text is the same
}

// QString converts by the classic locale, whatever the user's is.
double VRLNumberEdit::getValue() const {
    return showsOwnValue() ? __value : text().trimmed().toDouble();
}

bool VRLNumberEdit::isValid() const {
    return problem().isEmpty();
}

void VRLNumberEdit::setAcceptsOwnValue(bool accepts) {
    __acceptsOwnValue = accepts;
    check();
}

void VRLNumberEdit::setHint(const QString& text) {
    __mark->setToolTip(text);
}

void VRLNumberEdit::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::EnabledChange)
        check();
}

bool VRLNumberEdit::showsOwnValue() const {
    return text() == __valueText;
}

QString VRLNumberEdit::problem() const {
    if (__acceptsOwnValue && showsOwnValue() && std::isfinite(__value))
        return QString();
    const QString number = text().trimmed();
    if (number.isEmpty())
        return "Please enter a number.";
    bool converts = false;
    const auto value = static_cast<float>(number.toDouble(&converts)); // sizes of pixels are held so
    if (!converts && number.contains(','))
        return "Please use a point as the decimal mark.";
    if (!converts || !std::isfinite(value))
        return "This is not a number that can be used.";
    if (!(value > 0))
        return "The number must be above zero.";
    return QString();
}

void VRLNumberEdit::check() {
    __mark->setProblem(isEnabled() ? problem() : QString());
}

} // namespace vorlen
