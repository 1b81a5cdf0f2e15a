#pragma once

#include <memory>
#include <vector>

#include <QString>

#include "editing/history/vrlaction.h"

namespace vorlen {

/// Actions that depend on each other, as one action: applied first to last, reverted last to first.
class VRLActionSequence : public VRLAction {
public:
    /// Described as its first action without a description.
    explicit VRLActionSequence(const QString& description = QString());
    ~VRLActionSequence() override;

    void append(std::unique_ptr<VRLAction> action);

    /// Takes an action into a sequence that has been applied, and applies it; one that throws is left out.
    void applyNext(std::unique_ptr<VRLAction> action);

    bool isEmpty() const { return __actions.empty(); }

    /// None of its actions changes anything.
    bool isNull() const override;
    void apply() override;
    void revert() override;

    QString description(bool verbose) const override;

private:
    void revertFrom(std::size_t end);

    QString __description;
    std::vector<std::unique_ptr<VRLAction>> __actions;
};

} // namespace vorlen
