#include "editing/actions/vrlitemcreationaction.h"

#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelitemevent.h"

namespace vorlen {

VRLItemCreationAction::VRLItemCreationAction(ModelItem& item)
    : VRLItemAction(item), __owns(item.getSlice() == nullptr || item.getSlice()->placeOf(item) == 0) {
}

VRLItemCreationAction::~VRLItemCreationAction() {
    if (__owns)
        delete &getItem();
}

void VRLItemCreationAction::apply() {
    VRLItemAction::apply();
    getItem().attach();
    rollBackUnless([this] { __place.restore(getItem()); }, [this] { getItem().detach(); });
    __owns = false;
    VRLModelItemCreateEvent event(&getItem());
    VRLEventServer::notifyEvent(event);
}

void VRLItemCreationAction::revert() {
    VRLItemAction::revert();
    __place.take(getItem());
    getItem().detach();
    __owns = true;
    VRLModelItemDeleteEvent event(&getItem());
    VRLEventServer::notifyEvent(event);
}

QString VRLItemCreationAction::description(bool) const {
    return "Item creation";
}

} // namespace vorlen
