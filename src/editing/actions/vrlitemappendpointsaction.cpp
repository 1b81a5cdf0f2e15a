#include "editing/actions/vrlitemappendpointsaction.h"

#include "document/modelitem.h"

namespace vorlen {

void VRLItemAppendPointsAction::setVertices(const Vertices<double>& vertices) {
    __vertices = vertices;
    __vertices.detach();
}

void VRLItemAppendPointsAction::apply() {
    VRLItemAction::apply();
    if (__vertices.getNumVertices() > 0)
        getItem().appendVertices(__vertices);
    notifyVertices();
}

void VRLItemAppendPointsAction::revert() {
    VRLItemAction::revert();
    const int size = getItem().getSize();
    getItem().removeVertices(size - __vertices.getNumVertices(), size - 1);
    notifyVertices();
}

QString VRLItemAppendPointsAction::description(bool) const {
    return "Append points to item";
}

} // namespace vorlen
