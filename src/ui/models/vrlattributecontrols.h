#pragma once

#include <optional>

#include <QString>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QWidget;

namespace vorlen {

/// What the editors of properties share: controls with a state "undefined", rows of a form, their explanations.
namespace attributecontrols {

/// A control with its label, in a row of its own. The text is also its accessible name.
void addRow(QFormLayout& form, const QString& text, QWidget& control, const QString& toolTip,
            const QString& whatsThis = QString());

/// A row of a check box alone, in the column of the controls.
void addRow(QFormLayout& form, QCheckBox& box, const QString& toolTip, const QString& whatsThis = QString());

/// The state of a check box of three states.
void setState(QCheckBox& box, const std::optional<bool>& state);
std::optional<bool> state(const QCheckBox& box);

/// The value when it is defined.
template <class T, class Defines, class Get>
auto optionalValue(const T& properties, Defines defines, Get get) {
    using Value = std::decay_t<decltype((properties.*get)())>;
    return (properties.*defines)() ? std::optional<Value>((properties.*get)()) : std::nullopt;
}

} // namespace attributecontrols

} // namespace vorlen
