#pragma once

#include <memory>

#include "editing/actions/vrlitemaction.h"

namespace vorlen {

class Model;

/// Moves the selected part of an item to another model.
///
/// A connected item moves as a whole. Points go to an item of the destination on the same slice that looks as its model
/// does, if there is one, else to a new item, or, when all are selected, with their item. An item of points of which
/// none is selected moves as a whole. The parts of the action are made when it is applied for the first time.
class VRLItemSelectionConversionAction : public VRLItemAction {
public:
    explicit VRLItemSelectionConversionAction(ModelItem& item);
    ~VRLItemSelectionConversionAction() override;

    /// The destination; without one the action does nothing.
    void setModel(Model& model);

    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    void build();
    ModelItem* findBuddy() const;

    Model* __source;
    Model* __destination = nullptr;
    bool __built = false;
    std::unique_ptr<VRLAction> __first;
    std::unique_ptr<VRLAction> __second;
};

} // namespace vorlen
