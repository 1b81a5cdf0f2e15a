#include "editing/actions/vrlitemconversionaction.h"

#include "document/model.h"
#include "document/modelitem.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelitemevent.h"

namespace vorlen {

VRLItemConversionAction::VRLItemConversionAction(ModelItem& item)
    : VRLItemAction(item), __source(item.getModel()), __oldProperties(item.getProperties()) {
}

void VRLItemConversionAction::setModel(Model& model) {
    __destination = &model;
}

void VRLItemConversionAction::apply() {
    VRLItemAction::apply();
    if (__destination != nullptr)
        move(*__source, __sourcePlace, *__destination, __destinationPlace);
}

void VRLItemConversionAction::revert() {
    VRLItemAction::revert();
    if (__destination == nullptr)
        return;
    getItem().setProperties(__oldProperties);
    move(*__destination, __destinationPlace, *__source, __sourcePlace);
}

void VRLItemConversionAction::move(Model& source, VRLItemPlace& oldPlace, Model& destination,
                                   const VRLItemPlace& newPlace) {
    oldPlace.take(getItem());
    getItem().detachFromModel();
    getItem().setModel(&destination);
    getItem().attachToModel();
    newPlace.restore(getItem());
    VRLModelItemConvertEvent event(&getItem(), &source, &destination);
    VRLEventServer::notifyEvent(event);
}

QString VRLItemConversionAction::description(bool) const {
    if (__destination == nullptr)
        return "<Invalid item conversion action>";
    return "Conversion to: " + QString::fromStdString(__destination->getName());
}

} // namespace vorlen
