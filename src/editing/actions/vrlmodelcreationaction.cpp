#include "editing/actions/vrlmodelcreationaction.h"

#include "document/model.h"

namespace vorlen {

VRLModelCreationAction::VRLModelCreationAction(Stack& stack, std::unique_ptr<Model> model)
    : VRLModelPresenceAction(stack, *model) {
    takeOver();
    static_cast<void>(model.release());
}

void VRLModelCreationAction::apply() {
    VRLModelPresenceAction::apply();
    insert();
}

void VRLModelCreationAction::revert() {
    VRLModelPresenceAction::revert();
    remove();
}

QString VRLModelCreationAction::description(bool) const {
    return "Create model";
}

} // namespace vorlen
