#include "editing/actions/vrlselectionaction.h"

#include "document/modelitem.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelitemevent.h"

namespace vorlen {

VRLSelectionAction::VRLSelectionAction(ModelItem& item)
    : VRLItemAction(item), __oldSelection(item.getSelection()), __newSelection(item.getSelection()) {
}

void VRLSelectionAction::setSelection(const ModelItemSelection& selection) {
    __newSelection = selection;
}

bool VRLSelectionAction::isNull() const {
    return __oldSelection == __newSelection;
}

void VRLSelectionAction::apply() {
    VRLItemAction::apply();
    select(__newSelection);
}

void VRLSelectionAction::revert() {
    VRLItemAction::revert();
    select(__oldSelection);
}

void VRLSelectionAction::select(const ModelItemSelection& selection) {
    getItem().setSelection(selection);
    getItem().setUpdateBox(getItem().boundingBox());
    VRLModelItemSelectEvent event(&getItem());
    VRLEventServer::notifyEvent(event);
}

QString VRLSelectionAction::description(bool) const {
    return "Item selection";
}

} // namespace vorlen
