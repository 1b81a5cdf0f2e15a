#include "editing/actions/vrlposeaction.h"

#include "editing/bus/vrleventserver.h"
#include "editing/bus/vrlposeevent.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

VRLPoseAction::VRLPoseAction(VRLStack& stack, std::unique_ptr<Pose> pose)
    : __stack(stack), __pose(pose.get()), __off(std::move(pose)), __creation(true), __place(stack.getNumPoses()) {
    __pose->setStack(&stack);
}

VRLPoseAction::VRLPoseAction(VRLStack& stack, Pose& pose)
    : __stack(stack), __pose(&pose), __creation(false), __place(stack.findPose(pose)) {
}

void VRLPoseAction::apply() {
    VRLAction::apply();
    exchange();
}

void VRLPoseAction::revert() {
    VRLAction::revert();
    exchange();
}

void VRLPoseAction::exchange() {
    if (__off != nullptr) {
        __stack.addPose(__pose, __place);
        static_cast<void>(__off.release());
        VRLPoseCreateEvent event(__pose);
        VRLEventServer::notifyEvent(event);
    } else {
        VRLPoseDeleteEvent event(__pose);
        VRLEventServer::notifyEvent(event);
        __stack.removePose(*__pose);
        __off.reset(__pose);
    }
}

QString VRLPoseAction::description(bool) const {
    return __creation ? "Record pose" : "Delete pose";
}

} // namespace vorlen
