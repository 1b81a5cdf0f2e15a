#include "editing/actions/vrlmodeldeletionaction.h"

namespace vorlen {

void VRLModelDeletionAction::apply() {
    VRLModelPresenceAction::apply();
    remove();
}

void VRLModelDeletionAction::revert() {
    VRLModelPresenceAction::revert();
    insert();
}

QString VRLModelDeletionAction::description(bool) const {
    return "Delete model";
}

} // namespace vorlen
