#include "editing/actions/vrlitemattributesaction.h"

#include "document/modelitem.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "numerics/exception.h"

namespace vorlen {

VRLItemAttributesAction::VRLItemAttributesAction(ModelItem& item)
    : VRLItemAction(item), __oldProperties(item.getProperties()), __newProperties(item.getProperties()) {
}

void VRLItemAttributesAction::setProperties(const ModelItemProperties& properties) {
    __newProperties = properties;
}

void VRLItemAttributesAction::apply() {
    const ModelItemSelection& selection = getItem().getSelection();
    // When it is redone, the selection may be another one; the item is the same.
    if (!reverted() && !getItem().isConnected() && !selection.isEmpty() && !selection.isComplete())
        throw ProgramError("void VRLItemAttributesAction::apply()", "Unexpected incomplete item selection");
    VRLItemAction::apply();
    setItemProperties(__newProperties);
}

void VRLItemAttributesAction::revert() {
    VRLItemAction::revert();
    setItemProperties(__oldProperties);
}

void VRLItemAttributesAction::setItemProperties(const ModelItemProperties& properties) {
    getItem().setProperties(properties);
    VRLModelItemAttributeEvent event(&getItem());
    VRLEventServer::notifyEvent(event);
}

QString VRLItemAttributesAction::description(bool) const {
    return "Change item properties";
}

} // namespace vorlen
