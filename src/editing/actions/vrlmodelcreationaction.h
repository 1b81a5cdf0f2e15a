#pragma once

#include <memory>

#include "editing/actions/vrlmodelpresenceaction.h"

namespace vorlen {

/// Puts a new model behind the others of a stack.
class VRLModelCreationAction : public VRLModelPresenceAction {
public:
    VRLModelCreationAction(Stack& stack, std::unique_ptr<Model> model);

    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;
};

} // namespace vorlen
