#pragma once

#include "document/modelitemproperties.h"
#include "shell/session/vrlitemaction.h"

/// Moves a whole item to another model. Without a destination nothing happens.
class VRLItemConversionAction : public VRLItemAction {
public:
    /// Keeps the item's model and properties as what to go back to.
    explicit VRLItemConversionAction(ModelItem& item);

    /// The destination.
    void setModel(Model& model);

    bool concerns(const Model& model) const override;
    void apply() override;
    void revert() override;

private:
    void move(Model& source, Model& destination);

    Model* __source;
    ModelItemProperties __oldProperties;
    Model* __destination = nullptr;
};
