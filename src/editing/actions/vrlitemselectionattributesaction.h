#pragma once

#include <memory>

#include "document/modelitemproperties.h"

#include "editing/actions/vrlitemaction.h"

namespace vorlen {

class VRLItemAttributesAction;
class VRLItemCreationAction;
class VRLRemoveSelectionAction;

/// Gives the selected part of an item other properties of its own.
///
/// Of an item of points the unselected ones are split off first, to a new item that looks as the old one did. The parts
/// of the action are made when it is applied for the first time, and used again when it is redone.
class VRLItemSelectionAttributesAction : public VRLItemAction {
public:
    explicit VRLItemSelectionAttributesAction(ModelItem& item);
    ~VRLItemSelectionAttributesAction() override;

    void setProperties(const ModelItemProperties& properties);
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    void build();

    ModelItemProperties __properties;
    bool __built = false;
    std::unique_ptr<VRLItemCreationAction> __creation;
    std::unique_ptr<VRLRemoveSelectionAction> __removal;
    std::unique_ptr<VRLItemAttributesAction> __attributes;
};

} // namespace vorlen
