#include "ui/models/vrlattributecontrols.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>

namespace vorlen {

namespace attributecontrols {

void addRow(QFormLayout& form, const QString& text, QWidget& control, const QString& toolTip,
            const QString& whatsThis) {
    auto* label = new QLabel(text);
    label->setBuddy(&control);
    label->setToolTip(toolTip);
    // Editors that stand above each other have their columns in line: no label of theirs is wider.
    label->setMinimumWidth(label->fontMetrics().horizontalAdvance("Surface shininess "));
    control.setAccessibleName(text);
    control.setToolTip(toolTip);
    control.setWhatsThis(whatsThis.isEmpty() ? toolTip : whatsThis);
    form.addRow(label, &control);
}

void addRow(QFormLayout& form, QCheckBox& box, const QString& toolTip, const QString& whatsThis) {
    box.setAccessibleName(box.text());
    box.setToolTip(toolTip);
    box.setWhatsThis(whatsThis.isEmpty() ? toolTip : whatsThis);
    form.addRow(QString(), &box);
}

void setState(QCheckBox& box, const std::optional<bool>& state) {
    box.setCheckState(!state ? Qt::PartiallyChecked : *state ? Qt::Checked : Qt::Unchecked);
}

std::optional<bool> state(const QCheckBox& box) {
    if (box.checkState() == Qt::PartiallyChecked)
        return std::nullopt;
    return box.checkState() == Qt::Checked;
}

} // namespace attributecontrols

} // namespace vorlen
