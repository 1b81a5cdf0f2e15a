#pragma once

#include "editing/bus/vrlevent.h"

namespace vorlen {

class Pose;

/// Something about a pose.
class VRLPoseEvent : public VRLEvent {
public:
    explicit VRLPoseEvent(Pose* pose) : __pose(pose) {}

    Pose* getPose() const { return __pose; }
    void setPose(Pose* pose) { __pose = pose; }

private:
    Pose* __pose;
};

/// The pose is on its stack's list.
class VRLPoseCreateEvent : public VRLPoseEvent {
public:
    explicit VRLPoseCreateEvent(Pose* pose) : VRLPoseEvent(pose) {}
    int type() const override { return PoseCreate; }
};

/// The pose is about to leave its stack's list.
class VRLPoseDeleteEvent : public VRLPoseEvent {
public:
    explicit VRLPoseDeleteEvent(Pose* pose) : VRLPoseEvent(pose) {}
    int type() const override { return PoseDelete; }
};

} // namespace vorlen
