#pragma once

#include "editing/actions/vrlmodelpresenceaction.h"

namespace vorlen {

/// Takes a model with its items out of its stack, and owns it then.
class VRLModelDeletionAction : public VRLModelPresenceAction {
public:
    VRLModelDeletionAction(Stack& stack, Model& model) : VRLModelPresenceAction(stack, model) {}

    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;
};

} // namespace vorlen
