#pragma once

#include <string>

#include "document/modelitemproperties.h"
#include "document/modelproperties.h"
#include "editing/actions/vrlmodelaction.h"

namespace vorlen {

class VRLStack;

/// What a model says of itself, without its items.
struct ModelState {
    explicit ModelState(const Model& model);

    std::string name;
    ModelProperties properties;
    ModelItemProperties itemProperties;
};

/// Gives a model another name, other properties, another look of its items; keeps those it had.
class VRLModelStateAction : public VRLModelAction {
public:
    /// The state is the model's present one.
    VRLModelStateAction(VRLStack& stack, Model& model);

    void setState(const ModelState& state) { __state = state; }

    bool isNull() const override;
    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    void exchange();

    VRLStack& __stack;
    ModelState __state; // the other one, always
};

} // namespace vorlen
