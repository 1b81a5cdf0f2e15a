#pragma once

#include <vector>

#include "editing/actions/vrlitemplace.h"
#include "editing/actions/vrlmodelaction.h"

namespace vorlen {

/// Takes a model with its items out of its stack, and owns it then.
class VRLModelDeletionAction : public VRLModelAction {
public:
    using VRLModelAction::VRLModelAction;
    ~VRLModelDeletionAction() override;

    void apply() override;
    void revert() override;

private:
    bool __applied = false;
    int __index = 0;
    std::vector<VRLItemPlace> __places; // of the items, in the model's order
};

} // namespace vorlen
