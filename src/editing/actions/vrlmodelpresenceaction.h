#pragma once

#include <vector>

#include "editing/actions/vrlitemplace.h"
#include "editing/actions/vrlmodelaction.h"

namespace vorlen {

/// Base of the actions that bring a model with its items into a stack, or take it out. Owns the model while it is out.
class VRLModelPresenceAction : public VRLModelAction {
public:
    ~VRLModelPresenceAction() override;

protected:
    using VRLModelAction::VRLModelAction;

    /// The model is no stack's yet: the action owns it from now on, and puts it behind the others.
    void takeOver();

    /// Tells that the model goes, and takes it out.
    void remove();

    /// Puts the model and its items where they were, and tells of it.
    void insert();

private:
    bool __out = false;
    int __index = 0;
    std::vector<VRLItemPlace> __places; // of the items, in the model's order
};

} // namespace vorlen
