#include "ui/models/vrlattributespinbox.h"

#include <algorithm>
#include <cmath>

namespace vorlen {

VRLAttributeSpinBox::VRLAttributeSpinBox(int maximum, QWidget* parent) : QSpinBox(parent), __maximum(maximum) {
    setRange(-1, maximum);
    setSpecialValueText(" ");
    setValue(-1);
}

void VRLAttributeSpinBox::setAttribute(const std::optional<float>& attribute) {
    __own = attribute && std::isfinite(*attribute) ? attribute : std::nullopt;
    __shown = __own ? static_cast<int>(std::lround(std::clamp(*__own, 0.0f, 1e9f))) : -1;
    setMaximum(std::max(__maximum, __shown));
    setValue(__shown);
}

std::optional<float> VRLAttributeSpinBox::attribute() const {
    if (value() == __shown)
        return __own;
    return value() < 0 ? std::nullopt : std::optional<float>(static_cast<float>(value()));
}

} // namespace vorlen
