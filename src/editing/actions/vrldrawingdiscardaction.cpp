#include "editing/actions/vrldrawingdiscardaction.h"

namespace vorlen {

VRLDrawingDiscardAction::VRLDrawingDiscardAction(StackSlice& slice, Model& model, const Vertices<double>& vertices)
    : __slice(&slice), __model(&model), __vertices(vertices) {
    __vertices.detach();
}

QString VRLDrawingDiscardAction::description(bool) const {
    return "Drawing given up";
}

} // namespace vorlen
