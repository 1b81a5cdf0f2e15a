#pragma once

#include <QLineEdit>

namespace vorlen {

class VRLFieldMark;

/// A line for a length or a ratio: a finite number above zero, read and written with a point in every locale.
///
/// Anything else is marked while the line is enabled, with the reason in the tool tip. The line starts with "1.0". It
/// remembers the number it was set to: six digits are shown, and no digit is lost while the user leaves the text alone.
class VRLNumberEdit : public QLineEdit {
    Q_OBJECT

public:
    explicit VRLNumberEdit(QWidget* parent = nullptr);

    /// Shows the number with six significant digits.
    void setValue(double value);

    /// The number that was set, while its text stands, and else what the text says; 0 for a text that is no number.
    double getValue() const;

    bool isValid() const;

    /// Whether the number that was set counts as valid whatever it is, while its text stands. Off at first.
    void setAcceptsOwnValue(bool accepts);

    /// The tool tip of a valid text.
    void setHint(const QString& text);

protected:
    void changeEvent(QEvent* event) override;

private:
    bool showsOwnValue() const;
    QString problem() const;
    void check();

    VRLFieldMark* __mark;
    double __value = 1;
    QString __valueText;
    bool __acceptsOwnValue = false;
};

} // namespace vorlen
