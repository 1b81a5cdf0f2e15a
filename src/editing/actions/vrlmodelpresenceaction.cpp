#include "editing/actions/vrlmodelpresenceaction.h"

#include "document/modelitem.h"
#include "document/stack.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelevent.h"

namespace vorlen {

VRLModelPresenceAction::~VRLModelPresenceAction() {
    if (__out)
        delete &getModel();
}

void VRLModelPresenceAction::takeOver() {
    __out = true;
    __index = getStack().getNumModels();
}

void VRLModelPresenceAction::remove() {
    VRLModelDeleteEvent event(&getModel());
    VRLEventServer::notifyEvent(event);
    __index = getStack().findModel(getModel());
    __places.assign(static_cast<std::size_t>(getModel().getNumItems()), VRLItemPlace());
    for (std::size_t i = 0; i < __places.size(); ++i)
        __places[i].take(getModel().getItem(static_cast<int>(i)));
    getStack().removeModel(getModel());
    __out = true;
}

void VRLModelPresenceAction::insert() {
    getStack().addModel(&getModel(), __index);
    __out = false;
    for (std::size_t i = 0; i < __places.size(); ++i)
        __places[i].restore(getModel().getItem(static_cast<int>(i)));
    VRLModelCreateEvent event(&getModel());
    VRLEventServer::notifyEvent(event);
}

} // namespace vorlen
