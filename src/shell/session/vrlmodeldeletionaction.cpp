#include "shell/session/vrlmodeldeletionaction.h"

#include "document/stack.h"
#include "shell/session/vrleventserver.h"
#include "shell/session/vrlmodelevent.h"

VRLModelDeletionAction::~VRLModelDeletionAction() {
    if (__applied && !reverted())
        delete &getModel();
}

void VRLModelDeletionAction::apply() {
    VRLModelAction::apply();
    __applied = true;
    VRLModelDeleteEvent event(&getModel());
    VRLEventServer::notifyEvent(event);
    getStack().removeModel(getModel());
}

void VRLModelDeletionAction::revert() {
    VRLModelAction::revert();
    getStack().addModel(&getModel());
    VRLModelCreateEvent event(&getModel());
    VRLEventServer::notifyEvent(event);
}
