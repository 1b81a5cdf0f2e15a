#pragma once

#include <memory>
#include <vector>

#include "editing/history/vrlaction.h"

namespace vorlen {

/// Actions that depend on each other, as one action: applied first to last, reverted last to first.
class VRLActionSequence : public VRLAction {
public:
    VRLActionSequence();
    ~VRLActionSequence() override;

    void append(std::unique_ptr<VRLAction> action);
    bool isEmpty() const { return __actions.empty(); }

    /// None of its actions changes anything.
    bool isNull() const override;
    void apply() override;
    void revert() override;

    /// Of the first action.
    QString description(bool verbose) const override;

private:
    void revertFrom(std::size_t end);

    std::vector<std::unique_ptr<VRLAction>> __actions;
};

} // namespace vorlen
