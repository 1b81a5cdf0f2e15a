#include "editing/actions/vrlmodelstateaction.h"

#include <utility>

#include "document/model.h"
#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

ModelState::ModelState(const Model& model)
    : name(model.getName()), properties(model.getProperties()), itemProperties(model.getItemProperties()) {
}

VRLModelStateAction::VRLModelStateAction(VRLStack& stack, Model& model)
    : VRLModelAction(stack, model), __stack(stack), __state(model) {
}

bool VRLModelStateAction::isNull() const {
    const Model& model = getModel();
    return __state.name == model.getName() && __state.properties == model.getProperties() &&
           __state.itemProperties == model.getItemProperties();
}

void VRLModelStateAction::apply() {
    VRLModelAction::apply();
    exchange();
}

void VRLModelStateAction::revert() {
    VRLModelAction::revert();
    exchange();
}

void VRLModelStateAction::exchange() {
    Model& model = getModel();
    ModelState present(model);
    model.setName(__state.name);
    model.setProperties(__state.properties);
    model.setItemProperties(__state.itemProperties);
    std::swap(__state, present);
    VRLModelPropertiesEvent event(&model);
    event.setOldProperties(__state.properties);
    event.setOldItemProperties(__state.itemProperties);
    VRLEventServer::notifyEvent(event);
    __stack.setModified(true);
}

QString VRLModelStateAction::description(bool) const {
    return "Change model";
}

} // namespace vorlen
