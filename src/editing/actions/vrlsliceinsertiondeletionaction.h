#pragma once

#include <map>
#include <memory>

#include "document/stackslice.h"
#include "editing/actions/vrlitemplace.h"
#include "editing/actions/vrlsliceaction.h"

namespace vorlen {

class Stack;

/// Puts a slice into a stack or takes it out, with its items, and owns it while it is out.
///
/// The slice must have been told its stack. Its items stay on its list throughout, so that they come back with it.
/// Undone, the slice behind stands where it stood before, also where taking a slice out gave it a distance of its own.
class VRLSliceInsertionDeletionAction : public VRLSliceAction {
public:
    explicit VRLSliceInsertionDeletionAction(StackSlice& slice);

    /// Takes a new slice over from the start.
    explicit VRLSliceInsertionDeletionAction(std::unique_ptr<StackSlice> slice);
    ~VRLSliceInsertionDeletionAction() override;

    /// Insertion unless told otherwise.
    void setInsertionMode();
    void setDeletionMode();

    /// Place of the slice in its stack.
    void setSlicePosition(int position);
    int getSlicePosition() const { return __position; }

    bool isInsertion() const { return __insertion; }
    Stack& getStack() const { return *__stack; }

    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    void insertSlice();
    void removeSlice();
    void updateReconstruction();
    void takeNextPlacement(int position);

    Stack* __stack;
    bool __insertion = true;
    bool __applied = false;
    bool __out = false; // and the action owns the slice
    int __position = 0;
    std::map<const ModelItem*, VRLItemPlace> __places;
    StackSlice::Placement __placement;
    StackSlice* __next = nullptr; // the slice behind, which moves when the slice comes or goes
    StackSlice::Placement __nextPlacement;
};

} // namespace vorlen
