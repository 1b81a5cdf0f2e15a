#include "shell/session/vrlitemaction.h"

#include "document/modelitem.h"
#include "shell/session/vrleventserver.h"
#include "shell/session/vrlmodelitemevent.h"

bool VRLItemAction::concerns(const Model& model) const {
    return __item->getModel() == &model;
}

void VRLItemAction::notifyVertices() const {
    VRLModelItemVertexEvent event(__item);
    VRLEventServer::notifyEvent(event);
}
