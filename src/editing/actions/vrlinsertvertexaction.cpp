#include "editing/actions/vrlinsertvertexaction.h"

#include "document/modelitem.h"

namespace vorlen {

void VRLInsertVertexAction::setIndex(int index) {
    __index = index;
}

void VRLInsertVertexAction::setPoint(const Vector<double>& point) {
    __point = point;
}

void VRLInsertVertexAction::apply() {
    VRLItemAction::apply();
    insertSelectedVertex(getItem(), __index, __point);
    notifyVertices();
}

void VRLInsertVertexAction::revert() {
    VRLItemAction::revert();
    getItem().removeVertex(__index);
    notifyVertices();
}

void insertSelectedVertex(ModelItem& item, int index, const Vector<double>& point) {
    item.insertVertex(index, point);
    if (item.isConnected())
        item.getSelection().set(true);
    else
        item.getSelection().set(true, index, false);
}

QString VRLInsertVertexAction::description(bool) const {
    return "Insert item vertex";
}

} // namespace vorlen
