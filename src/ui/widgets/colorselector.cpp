#include "ui/widgets/colorselector.h"

#include <QColorDialog>

namespace vorlen {

ColorSelector::ColorSelector(QWidget* parent) : QPushButton(parent) {
    connect(this, &QPushButton::clicked, this, &ColorSelector::select);
    setColor(__color);
}

void ColorSelector::setColor(const QColor& color) {
    __color = color;
    setStyleSheet(QString("background-color:rgb(%1,%2,%3)").arg(color.red()).arg(color.green()).arg(color.blue()));
    setToolTip(QString("Colour %1: click to choose another").arg(color.name()));
}

void ColorSelector::select() {
    const QColor color = QColorDialog::getColor(__color, this);
    if (!color.isValid())
        return;
    setColor(color);
    emit valueChanged(__color);
}

} // namespace vorlen
