#include "editing/actions/vrlitemcreationaction.h"

#include "document/modelitem.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelitemevent.h"

namespace vorlen {

VRLItemCreationAction::~VRLItemCreationAction() {
    if (reverted())
        delete &getItem();
}

void VRLItemCreationAction::apply() {
    VRLItemAction::apply();
    getItem().attach();
    __place.restore(getItem());
    VRLModelItemCreateEvent event(&getItem());
    VRLEventServer::notifyEvent(event);
}

void VRLItemCreationAction::revert() {
    VRLItemAction::revert();
    __place.take(getItem());
    getItem().detach();
    VRLModelItemDeleteEvent event(&getItem());
    VRLEventServer::notifyEvent(event);
}

QString VRLItemCreationAction::description(bool) const {
    return "Item creation";
}

} // namespace vorlen
