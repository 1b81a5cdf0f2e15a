#pragma once

#include "editing/bus/vrlevent.h"

namespace vorlen {

class VRLStack;

/// Something about a stack.
class VRLStackEvent : public VRLEvent {
public:
    explicit VRLStackEvent(VRLStack* stack) : __stack(stack) {}

    VRLStack* getStack() const { return __stack; }
    void setStack(VRLStack* stack) { __stack = stack; }

private:
    VRLStack* __stack;
};

/// The stack is among the open ones.
class VRLStackOpenEvent : public VRLStackEvent {
public:
    explicit VRLStackOpenEvent(VRLStack* stack) : VRLStackEvent(stack) {}
    int type() const override { return StackOpen; }
};

/// The stack is about to go; it is still complete and still listed.
class VRLStackCloseEvent : public VRLStackEvent {
public:
    explicit VRLStackCloseEvent(VRLStack* stack) : VRLStackEvent(stack) {}
    int type() const override { return StackClose; }
};

/// The stack has another name.
class VRLStackNameEvent : public VRLStackEvent {
public:
    explicit VRLStackNameEvent(VRLStack* stack) : VRLStackEvent(stack) {}
    int type() const override { return StackName; }
};

/// The stack has another file.
class VRLStackFileNameEvent : public VRLStackEvent {
public:
    explicit VRLStackFileNameEvent(VRLStack* stack) : VRLStackEvent(stack) {}
    int type() const override { return StackFileName; }
};

/// The stack's modified flag was set or cleared.
class VRLStackModifyEvent : public VRLStackEvent {
public:
    explicit VRLStackModifyEvent(VRLStack* stack) : VRLStackEvent(stack) {}
    int type() const override { return StackModify; }
};

/// Slices of the stack are registered anew.
class VRLStackRegistrationEvent : public VRLStackEvent {
public:
    explicit VRLStackRegistrationEvent(VRLStack* stack) : VRLStackEvent(stack) {}
    int type() const override { return StackRegistration; }
};

/// Slices of the stack have moved along the cutting axis.
class VRLStackSliceSpacingEvent : public VRLStackEvent {
public:
    explicit VRLStackSliceSpacingEvent(VRLStack* stack) : VRLStackEvent(stack) {}
    int type() const override { return StackSliceSpacing; }
};

/// Pixels of slices of the stack have another size.
class VRLStackImageCalibrationEvent : public VRLStackEvent {
public:
    explicit VRLStackImageCalibrationEvent(VRLStack* stack) : VRLStackEvent(stack) {}
    int type() const override { return StackImageCalibration; }
};

} // namespace vorlen
