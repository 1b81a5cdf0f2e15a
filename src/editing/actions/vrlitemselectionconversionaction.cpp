#include "editing/actions/vrlitemselectionconversionaction.h"

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/actions/vrlitemappendpointsaction.h"
#include "editing/actions/vrlitemconversionaction.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/actions/vrlitemdeletionaction.h"
#include "editing/actions/vrlremoveselectionaction.h"

namespace vorlen {

VRLItemSelectionConversionAction::VRLItemSelectionConversionAction(ModelItem& item)
    : VRLItemAction(item), __source(item.getModel()) {
}

VRLItemSelectionConversionAction::~VRLItemSelectionConversionAction() = default;

void VRLItemSelectionConversionAction::setModel(Model& model) {
    __destination = &model;
}

/// The first item of the destination on the same slice that looks as its model does.
ModelItem* VRLItemSelectionConversionAction::findBuddy() const {
    StackSlice* slice = getItem().getSlice();
    if (slice == nullptr)
        return nullptr;
    const ModelItemProperties& look = __destination->getItemProperties();
    for (int i = 0; i < slice->getNumItems(); ++i) {
        ModelItem& item = slice->getItem(i);
        if (&item != &getItem() && item.getModel() == __destination && item.getProperties() + look == look)
            return &item;
    }
    return nullptr;
}

void VRLItemSelectionConversionAction::build() {
    ModelItem& item = getItem();
    const bool partial = !item.isConnected() && !item.getSelection().isEmpty() && !item.getSelection().isComplete();
    ModelItem* const buddy = item.isConnected() ? nullptr : findBuddy();
    if (buddy != nullptr) {
        auto append = std::make_unique<VRLItemAppendPointsAction>(*buddy);
        append->setVertices(partial ? item.selectedVertices() : item.getVertices());
        __first = std::move(append);
    } else if (partial) {
        auto* part = new ModelItem; // the creation owns it whenever the document does not
        part->setModel(__destination);
        part->setSlice(item.getSlice());
        part->setVertices(item.selectedVertices());
        __first = std::make_unique<VRLItemCreationAction>(*part);
    } else {
        auto conversion = std::make_unique<VRLItemConversionAction>(item);
        conversion->setModel(*__destination);
        __first = std::move(conversion);
    }
    if (partial)
        __second = std::make_unique<VRLRemoveSelectionAction>(item);
    else if (buddy != nullptr)
        __second = std::make_unique<VRLItemDeletionAction>(item);
    __built = true;
}

void VRLItemSelectionConversionAction::apply() {
    VRLItemAction::apply();
    if (__destination == nullptr)
        return;
    if (!__built)
        build();
    __first->apply();
    if (__second)
        rollBackUnless([this] { __second->apply(); }, [this] { __first->revert(); });
}

void VRLItemSelectionConversionAction::revert() {
    VRLItemAction::revert();
    if (__first)
        __first->revert();
    if (__second)
        __second->revert();
}

QString VRLItemSelectionConversionAction::description(bool) const {
    if (__destination == nullptr)
        return "<Invalid item selection conversion action>";
    return "Conversion to: " + QString::fromStdString(__destination->getName());
}

} // namespace vorlen
