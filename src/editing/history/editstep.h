#pragma once

#include <memory>

#include <QPointer>

#include "editing/history/vrlactionhistory.h"

namespace vorlen {

class VRLAction;

/// A step of a history as a transaction: all of its actions stand, or none.
///
/// Without commit() the end of its life takes back what the step did, in reverse order, and the opposite events are
/// sent. So does an action that fails, or a client of the bus that fails at what the action tells: the exception leaves
/// apply(), and the step is empty again. An action whose apply() throws must have left the document as it was.
///
/// A history that is cleared or destroyed meanwhile (its stack is closed) takes the step along; the rest does nothing.
class EditStep {
public:
    /// Throws UsageError when a step is open already.
    explicit EditStep(VRLActionHistory& history);
    ~EditStep();
    EditStep(const EditStep&) = delete;
    EditStep& operator=(const EditStep&) = delete;

    /// Applies the action and takes it into the step. Null actions are for the caller to leave out.
    void apply(std::unique_ptr<VRLAction> action);

    /// Takes in an action that the caller has applied already, as at the end of a drag.
    void record(std::unique_ptr<VRLAction> action);

    /// Makes one step for the user of what has been applied; without actions it leaves no trace. What could have been
    /// redone is dropped.
    void commit();

    /// Number of actions in the step.
    int getNumActions() const;

private:
    bool isMine() const;

    QPointer<VRLActionHistory> __history;
    unsigned int __number;
};

} // namespace vorlen
