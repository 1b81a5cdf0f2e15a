#include "editing/actions/vrlmovevertexaction.h"

#include "document/modelitem.h"

namespace vorlen {

void VRLMoveVertexAction::setIndex(int index) {
    __index = index;
    __oldPoint = getItem().getVertices()[index];
    __newPoint = __oldPoint;
}

void VRLMoveVertexAction::setPoint(const Vector<double>& point) {
    __newPoint = point;
}

bool VRLMoveVertexAction::isNull() const {
    return __oldPoint == __newPoint;
}

void VRLMoveVertexAction::apply() {
    VRLItemAction::apply();
    getItem().moveVertex(__index, __newPoint);
    notifyVertices();
}

void VRLMoveVertexAction::revert() {
    VRLItemAction::revert();
    getItem().moveVertex(__index, __oldPoint);
    notifyVertices();
}

QString VRLMoveVertexAction::description(bool) const {
    return "Move item vertex";
}

} // namespace vorlen
