#include "shell/session/vrlitemconversionaction.h"

#include "document/modelitem.h"
#include "shell/session/vrleventserver.h"
#include "shell/session/vrlmodelitemevent.h"

VRLItemConversionAction::VRLItemConversionAction(ModelItem& item)
    : VRLItemAction(item), __source(item.getModel()), __oldProperties(item.getProperties()) {
}

void VRLItemConversionAction::setModel(Model& model) {
    __destination = &model;
}

bool VRLItemConversionAction::concerns(const Model& model) const {
    return VRLItemAction::concerns(model) || &model == __source || &model == __destination;
}

void VRLItemConversionAction::apply() {
    VRLItemAction::apply();
    if (__destination != nullptr)
        move(*__source, *__destination);
}

void VRLItemConversionAction::revert() {
    VRLItemAction::revert();
    if (__destination == nullptr)
        return;
    getItem().setProperties(__oldProperties);
    move(*__destination, *__source);
}

void VRLItemConversionAction::move(Model& source, Model& destination) {
    getItem().detachFromModel();
    getItem().setModel(&destination);
    getItem().attachToModel();
    VRLModelItemConvertEvent event(&getItem(), &source, &destination);
    VRLEventServer::notifyEvent(event);
}
