#pragma once

#include "editing/history/vrlaction.h"

namespace vorlen {

class StackSlice;

/// Base of the actions on one slice.
class VRLSliceAction : public VRLAction {
public:
    explicit VRLSliceAction(StackSlice& slice) : __slice(&slice) {}

    StackSlice* getSlice() const { return __slice; }

private:
    StackSlice* __slice;
};

} // namespace vorlen
