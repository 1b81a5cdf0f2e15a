#pragma once

#include <memory>

#include <QString>

#include "editing/actions/vrlactionsequence.h"
#include "editing/history/editstep.h"

namespace vorlen {

/// A step whose actions depend on each other and are made one after the other: the next one may look at what the last
/// has done. They are reverted last to first, which the actions of a plain step are not. The description is what the
/// history calls it.
class OrderedStep {
public:
    OrderedStep(EditStep& step, const QString& description) : __step(step) {
        auto sequence = std::make_unique<VRLActionSequence>(description);
        __sequence = sequence.get();
        step.apply(std::move(sequence));
    }

    /// Nothing when the step is gone, since a client that heard of an action has cleared the history.
    void apply(std::unique_ptr<VRLAction> action) {
        if (__step.getNumActions() > 0)
            __sequence->applyNext(std::move(action));
    }

private:
    EditStep& __step;
    VRLActionSequence* __sequence; // the history's
};

} // namespace vorlen
