#include "editing/actions/vrlitemdeletionaction.h"

#include "document/modelitem.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelitemevent.h"

namespace vorlen {

VRLItemDeletionAction::~VRLItemDeletionAction() {
    if (!reverted() && __applied)
        delete &getItem();
}

bool VRLItemDeletionAction::operator==(const VRLAction& other) const {
    const auto* deletion = dynamic_cast<const VRLItemDeletionAction*>(&other);
    return deletion != nullptr && &deletion->getItem() == &getItem();
}

void VRLItemDeletionAction::apply() {
    VRLItemAction::apply();
    __applied = true;
    __place.take(getItem());
    getItem().detach();
    VRLModelItemDeleteEvent event(&getItem());
    VRLEventServer::notifyEvent(event);
}

void VRLItemDeletionAction::revert() {
    VRLItemAction::revert();
    getItem().attach();
    __place.restore(getItem());
    VRLModelItemCreateEvent event(&getItem());
    VRLEventServer::notifyEvent(event);
}

QString VRLItemDeletionAction::description(bool) const {
    return "Item deletion";
}

} // namespace vorlen
