#pragma once

#include "document/modelitemproperties.h"
#include "editing/actions/vrlitemaction.h"
#include "editing/actions/vrlitemplace.h"

namespace vorlen {

class Model;

/// Moves a whole item to another model. Without a destination nothing happens.
class VRLItemConversionAction : public VRLItemAction {
public:
    /// Keeps the item's model and properties as what to go back to.
    explicit VRLItemConversionAction(ModelItem& item);

    /// The destination.
    void setModel(Model& model);

    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    void move(Model& source, VRLItemPlace& oldPlace, Model& destination, const VRLItemPlace& newPlace);

    Model* __source;
    ModelItemProperties __oldProperties;
    Model* __destination = nullptr;
    VRLItemPlace __sourcePlace;
    VRLItemPlace __destinationPlace;
};

} // namespace vorlen
