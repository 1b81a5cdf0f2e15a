#pragma once

#include <memory>

#include "document/pose.h"
#include "editing/history/vrlaction.h"

namespace vorlen {

class VRLStack;

/// Puts a pose on the list of a stack, or takes one off it, and owns it while it is off.
class VRLPoseAction : public VRLAction {
public:
    /// Puts the pose, which is told its stack, behind the others.
    VRLPoseAction(VRLStack& stack, std::unique_ptr<Pose> pose);

    /// Takes the pose of the stack off.
    VRLPoseAction(VRLStack& stack, Pose& pose);

    void apply() override;
    void revert() override;
    QString description(bool verbose) const override;

private:
    void exchange();

    VRLStack& __stack;
    Pose* __pose;
    std::unique_ptr<Pose> __off; // the pose, while it is on no list
    const bool __creation;
    int __place;
};

} // namespace vorlen
