#pragma once

#include "document/modelitemselection.h"
#include "editing/actions/vrlitemaction.h"

namespace vorlen {

/// Selects other vertices of an item.
class VRLSelectionAction : public VRLItemAction {
public:
    /// The selection is the item's present one, old and new.
    explicit VRLSelectionAction(ModelItem& item);

    void setSelection(const ModelItemSelection& selection);

    /// Nothing else is selected than before.
    bool isNull() const override;
    bool changesDocument() const override { return false; }
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    void select(const ModelItemSelection& selection);

    ModelItemSelection __oldSelection;
    ModelItemSelection __newSelection;
};

} // namespace vorlen
