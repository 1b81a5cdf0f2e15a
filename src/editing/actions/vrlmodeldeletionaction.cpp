#include "editing/actions/vrlmodeldeletionaction.h"

#include "document/modelitem.h"
#include "document/stack.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelevent.h"

namespace vorlen {

VRLModelDeletionAction::~VRLModelDeletionAction() {
    if (__applied && !reverted())
        delete &getModel();
}

void VRLModelDeletionAction::apply() {
    VRLModelAction::apply();
    __applied = true;
    VRLModelDeleteEvent event(&getModel());
    VRLEventServer::notifyEvent(event);
    __index = getStack().findModel(getModel());
    __places.assign(static_cast<std::size_t>(getModel().getNumItems()), VRLItemPlace());
    for (std::size_t i = 0; i < __places.size(); ++i)
        __places[i].take(getModel().getItem(static_cast<int>(i)));
    getStack().removeModel(getModel());
}

void VRLModelDeletionAction::revert() {
    VRLModelAction::revert();
    getStack().addModel(&getModel(), __index);
    for (std::size_t i = 0; i < __places.size(); ++i)
        __places[i].restore(getModel().getItem(static_cast<int>(i)));
    VRLModelCreateEvent event(&getModel());
    VRLEventServer::notifyEvent(event);
}

} // namespace vorlen
