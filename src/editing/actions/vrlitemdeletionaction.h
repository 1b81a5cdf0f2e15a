#pragma once

#include "editing/actions/vrlitemaction.h"
#include "editing/actions/vrlitemplace.h"

namespace vorlen {

/// Takes an item off its model and its slice, and owns it then. Equal to another deletion of the same item.
class VRLItemDeletionAction : public VRLItemAction {
public:
    using VRLItemAction::VRLItemAction;
    ~VRLItemDeletionAction() override;

    bool operator==(const VRLAction& other) const override;
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    VRLItemPlace __place;
    bool __applied = false;
};

} // namespace vorlen
