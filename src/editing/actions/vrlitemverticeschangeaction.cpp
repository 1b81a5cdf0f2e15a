#include "editing/actions/vrlitemverticeschangeaction.h"

#include "document/modelitem.h"

namespace vorlen {

void VRLItemVerticesChangeAction::setVertices(const Vertices<double>& vertices) {
    __vertices = vertices;
    __vertices.detach();
}

void VRLItemVerticesChangeAction::apply() {
    VRLItemAction::apply();
    exchange();
}

void VRLItemVerticesChangeAction::revert() {
    VRLItemAction::revert();
    exchange();
}

void VRLItemVerticesChangeAction::exchange() {
    Vertices<double> present = getItem().getVertices();
    present.detach();
    getItem().setVertices(__vertices);
    getItem().getSelection().set(true);
    __vertices = present;
    notifyVertices();
}

QString VRLItemVerticesChangeAction::description(bool) const {
    return "Change item vertices";
}

} // namespace vorlen
