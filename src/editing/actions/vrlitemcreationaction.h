#pragma once

#include "editing/actions/vrlitemaction.h"
#include "editing/actions/vrlitemplace.h"

namespace vorlen {

/// Attaches a new item to its model and its slice. The action owns the item as long as the document does not: before it
/// is applied and when it is undone. One made for an item that is attached already is to be recorded, not applied.
class VRLItemCreationAction : public VRLItemAction {
public:
    explicit VRLItemCreationAction(ModelItem& item);
    ~VRLItemCreationAction() override;
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    VRLItemPlace __place;
    bool __owns;
};

} // namespace vorlen
