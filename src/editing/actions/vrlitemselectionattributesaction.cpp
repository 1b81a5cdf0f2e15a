#include "editing/actions/vrlitemselectionattributesaction.h"

#include "document/modelitem.h"
#include "editing/actions/vrlitemattributesaction.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/actions/vrlremoveselectionaction.h"

namespace vorlen {

VRLItemSelectionAttributesAction::VRLItemSelectionAttributesAction(ModelItem& item) : VRLItemAction(item) {
}

VRLItemSelectionAttributesAction::~VRLItemSelectionAttributesAction() = default;

void VRLItemSelectionAttributesAction::setProperties(const ModelItemProperties& properties) {
    __properties = properties;
}

void VRLItemSelectionAttributesAction::build() {
    ModelItem& item = getItem();
    const ModelItemSelection& selection = item.getSelection();
    if (!item.isConnected() && !selection.isEmpty() && !selection.isComplete()) {
        auto* rest = new ModelItem; // the creation owns it whenever the document does not
        rest->setModel(item.getModel());
        rest->setSlice(item.getSlice());
        rest->setProperties(item.getProperties());
        rest->setVertices(item.unselectedVertices());
        __creation = std::make_unique<VRLItemCreationAction>(*rest);
        __removal = std::make_unique<VRLRemoveSelectionAction>(item);
        __removal->setReverseMode(true);
    }
    __attributes = std::make_unique<VRLItemAttributesAction>(item);
    __attributes->setProperties(__properties);
    __built = true;
}

void VRLItemSelectionAttributesAction::apply() {
    VRLItemAction::apply();
    if (!__built)
        build();
    if (__creation) {
        __creation->apply();
        rollBackUnless([this] { __removal->apply(); }, [this] { __creation->revert(); });
    }
    rollBackUnless([this] { __attributes->apply(); },
                   [this] {
                       if (__creation) {
                           __removal->revert();
                           __creation->revert();
                       }
                   });
}

void VRLItemSelectionAttributesAction::revert() {
    VRLItemAction::revert();
    if (__creation) {
        __removal->revert();
        __creation->revert();
    }
    __attributes->revert();
}

QString VRLItemSelectionAttributesAction::description(bool) const {
    return "Change item properties";
}

} // namespace vorlen
