#include "editing/history/vrlaction.h"

namespace vorlen {

VRLAction::~VRLAction() = default;

bool VRLAction::isNull() const {
    return false;
}

bool VRLAction::operator==(const VRLAction&) const {
    return false;
}

bool VRLAction::operator!=(const VRLAction& other) const {
    return !(*this == other);
}

void VRLAction::apply() {
    __reverted = false;
}

void VRLAction::revert() {
    __reverted = true;
}

QString VRLAction::description(bool) const {
    return "(No description available for this action)";
}

} // namespace vorlen
