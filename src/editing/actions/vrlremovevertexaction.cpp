#include "editing/actions/vrlremovevertexaction.h"

#include "document/modelitem.h"
#include "editing/actions/vrlinsertvertexaction.h"

namespace vorlen {

void VRLRemoveVertexAction::setIndex(int index) {
    __index = index;
    __vertex = getItem().getVertices()[index];
}

void VRLRemoveVertexAction::apply() {
    VRLItemAction::apply();
    getItem().removeVertex(__index);
    notifyVertices();
}

void VRLRemoveVertexAction::revert() {
    VRLItemAction::revert();
    insertSelectedVertex(getItem(), __index, __vertex);
    notifyVertices();
}

QString VRLRemoveVertexAction::description(bool) const {
    return "Delete item vertex";
}

} // namespace vorlen
