#include "ui/registration/vrlimagetransparencymodecombobox.h"

namespace vorlen {

VRLImageTransparencyModeComboBox::VRLImageTransparencyModeComboBox(QWidget* parent) : QComboBox(parent) {
    addItem("Addition", AdditionTransparency);
    addItem("Subtraction", SubtractionTransparency);
    addItem("Multiplication", MultiplicationTransparency);
    addItem("Minimum", MinimumTransparency);
    addItem("Maximum", MaximumTransparency);
    connect(this, &QComboBox::activated, this,
            [this](int index) { emit activated(static_cast<ImageTransparencyMode>(itemData(index).toInt())); });
}

} // namespace vorlen
