#pragma once

#include "document/modelitemproperties.h"
#include "editing/actions/vrlitemaction.h"

namespace vorlen {

/// Gives an item other properties of its own.
///
/// An item of points of which some are selected and some are not must have been split before.
class VRLItemAttributesAction : public VRLItemAction {
public:
    /// The properties are the item's present ones, old and new.
    explicit VRLItemAttributesAction(ModelItem& item);

    void setProperties(const ModelItemProperties& properties);

    /// Throws ProgramError for an item of points with an incomplete selection.
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    void setItemProperties(const ModelItemProperties& properties);

    ModelItemProperties __oldProperties;
    ModelItemProperties __newProperties;
};

} // namespace vorlen
