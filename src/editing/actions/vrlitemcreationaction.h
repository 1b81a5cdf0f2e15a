#pragma once

#include "editing/actions/vrlitemaction.h"
#include "editing/actions/vrlitemplace.h"

namespace vorlen {

/// Attaches a new item to its model and its slice. Undone, it owns the item.
class VRLItemCreationAction : public VRLItemAction {
public:
    using VRLItemAction::VRLItemAction;
    ~VRLItemCreationAction() override;
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    VRLItemPlace __place;
};

} // namespace vorlen
