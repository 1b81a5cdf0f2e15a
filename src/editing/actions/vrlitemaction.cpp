#include "editing/actions/vrlitemaction.h"

#include "document/modelitem.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelitemevent.h"

namespace vorlen {

void VRLItemAction::notifyVertices() const {
    VRLModelItemVertexEvent event(__item);
    VRLEventServer::notifyEvent(event);
}

} // namespace vorlen
