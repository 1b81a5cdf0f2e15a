#include "editing/actions/vrlremoveselectionaction.h"

#include "document/modelitem.h"

namespace vorlen {

VRLRemoveSelectionAction::VRLRemoveSelectionAction(ModelItem& item)
    : VRLItemAction(item), __vertices(item.getVertices()), __selection(item.getSelection()) {
    __vertices.detach();
}

void VRLRemoveSelectionAction::setReverseMode(bool reverse) {
    __reverseMode = reverse;
}

void VRLRemoveSelectionAction::apply() {
    VRLItemAction::apply();
    getItem().setSelection(__selection);
    if (__reverseMode) {
        getItem().removeUnselectedVertices();
        getItem().getSelection().set(true);
    } else {
        getItem().removeSelectedVertices();
    }
    notifyVertices();
}

void VRLRemoveSelectionAction::revert() {
    VRLItemAction::revert();
    getItem().setVertices(__vertices);
    getItem().setSelection(__selection);
    notifyVertices();
}

QString VRLRemoveSelectionAction::description(bool) const {
    return "Remove item selection";
}

} // namespace vorlen
